# shellcheck shell=bash
# How ./check does its steps: beside each other where they can be, each told in a line of its own when it went well and
# with its output when it did not. Sourced by ./check, which has set `results`, the folder of all logs and reports.
# shellcheck disable=SC2154

# What has been found so far; tell, tell_of_tests and nothing else add to it.
passed=0 failed=0 skipped=0 broken=()

declare -A titles=() processes=()

# Starts a step; `tell` waits for it. What was begun does not end with the shell: see end_all.
begin() {  # NAME TITLE COMMAND [ARGUMENT...]
  titles[$1]=$2
  timed "$results/$1" "${@:3}" &
  processes[$1]=$!
}

# Leaves what the command says in PLACE.log, and its status and seconds in PLACE.ended.
timed() {  # PLACE COMMAND [ARGUMENT...]
  local began=$SECONDS status=0
  rm -f "$1.ended"
  "${@:2}" >"$1.log" 2>&1 </dev/null || status=$?
  echo "$status $((SECONDS - began))" >"$1.ended"
}

# Waits for a step and tells of it; false when it has failed.
tell() {  # NAME
  local status=1 seconds=0
  wait "${processes[$1]}"
  unset "processes[$1]"
  if [ -f "$results/$1.ended" ]; then read -r status seconds <"$results/$1.ended"; fi
  printf '%-60s' "${titles[$1]}"
  if [ "$status" = 0 ]; then
    echo "ok, $seconds s"
  else
    echo "FAILED"
    tail -n 60 "$results/$1.log"
    broken+=("${titles[$1]}")
    return 1
  fi
}

step() {  # NAME TITLE COMMAND [ARGUMENT...]
  begin "$@"
  tell "$1"
}

# When it is stopped halfway nothing goes on that it has begun.
end_all() {
  local process
  for process in "${processes[@]}"; do end_tree "$process"; done
}

end_tree() {  # PROCESS
  local child
  for child in $(pgrep -P "$1"); do end_tree "$child"; done
  kill -TERM "$1" 2>/dev/null
}

# ---- Tests -----------------------------------------------------------------------------------------------------

# The tests of build/PRESET, beside what comes next. tell_of_tests waits for them.
begin_tests() {  # PRESET JOBS [CTEST-ARGUMENT...]
  rm -f "$results/$1.xml"
  timed "$results/tests-$1" ctest --test-dir "build/$1" -j "$2" --output-on-failure \
    --output-junit "$PWD/$results/$1.xml" "${@:3}" &
  processes[tests-$1]=$!
}

# A number of the report's <testsuite>.
attribute() {  # REPORT NAME
  sed -n "s/.*<testsuite.*[[:space:]]$2=\"\([0-9]*\)\".*/\1/p; s/^[[:space:]]*$2=\"\([0-9]*\)\".*/\1/p" "$1" | head -n 1
}

# What the test programs in a report say themselves, added up; each stands for one test of CTest's.
told_by_programs() {  # REPORT -> PROGRAMS, THOSE OF THEM THAT FAILED, TESTS PASSED, FAILED, SKIPPED
  sed -nE 's/.*(^|[^0-9])([0-9]+) passed, ([0-9]+) failed, ([0-9]+) skipped.*/\2 \3 \4/p' "$1" |
    awk '{ good += $1; bad += $2; unseen += $3; if ($2 > 0) fail += 1 }
         END { print NR, fail + 0, good + 0, bad + 0, unseen + 0 }'
}

# Waits for them, names those that have failed, and counts all. Where CTest has no report that is one failure.
tell_of_tests() {  # PRESET
  local preset=$1 report=$results/$1.xml tests wrong left_out programs broken_programs good bad unseen seconds
  wait "${processes[tests-$preset]}"
  unset "processes[tests-$preset]"
  read -r _ seconds <"$results/tests-$preset.ended"
  [ -f "$report" ] || echo '<testsuite tests="0" failures="0" skipped="0">' >"$report"
  tests=$(attribute "$report" tests) wrong=$(attribute "$report" failures) left_out=$(attribute "$report" skipped)
  if [ "$tests" = 0 ] || [ "$wrong" != 0 ]; then
    grep -vE '^ *(Start|[0-9]+/[0-9]+ Test .* Passed)' "$results/tests-$preset.log" | tail -n 200
    broken+=("tests of build/$preset")
  fi
  if [ "$tests" = 0 ]; then tests=1 wrong=1; fi
  read -r programs broken_programs good bad unseen < <(told_by_programs "$report")
  bad=$((bad + wrong - broken_programs)) unseen=$((unseen + left_out))
  good=$((good + tests - wrong - left_out - (programs - broken_programs)))
  passed=$((passed + good)) failed=$((failed + bad)) skipped=$((skipped + unseen))
  echo "Tests of build/$preset:  $((good + bad + unseen)) tests, $bad failed, $unseen skipped, $seconds s"
}

finish() {
  echo
  [ ${#broken[@]} = 0 ] || printf 'FAILED: %s\n' "${broken[@]}"
  echo "Took $((SECONDS / 60)) min $((SECONDS % 60)) s."
  echo "$passed passed, $failed failed, $skipped skipped"
  [ ${#broken[@]} = 0 ] && [ "$failed" = 0 ]
  exit
}
