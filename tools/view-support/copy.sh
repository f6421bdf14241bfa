# Where overlays are refused: a folder tree that holds copies. Sourced by tools/view for the kinds "copy"
# (namespaces are allowed) and "chroot" (nothing else is). Sets root and layers; state is given.
#
# What the machine may see written (settings, data, programs of its own) is copied afresh for each view.
# The rest of /usr is copied once into a base, and each view holds hard links to the base: never to the
# machine's own files, so that even a program that overwrites one in place spoils nothing but the base.

base=${BRINDLE_VIEW_BASE:-${state%/*}/brindle-view-base}

# Not needed to run anything here, and half of the files.
left_out=(./share/doc ./share/man ./share/info ./share/help ./share/locale ./share/gtk-doc ./share/fpcsrc
  ./include ./src ./lib/gcc ./lib/debug ./lib/jvm ./lib/llvm* ./lib/go* ./lib/node_modules ./games)

# In /usr, yet of the kind that a migration or its tests replace.
copied=(share/pixmaps share/applications share/fonts share/cups share/ppd local/brindle local/bin local/share
  local/libexec)

# The installed packages are what /usr consists of; a base of other packages is made again.
machine_state() { stat -c '%Y %s' /var/lib/dpkg/status /usr/local /usr/local/bin 2>/dev/null; }

make_base() {
  local leave=() name
  for name in "${left_out[@]}"; do leave+=("--exclude=$name"); done
  rm -rf --one-file-system "$base"
  mkdir -p "$base/usr"
  tar -C /usr "${leave[@]}" -cf - . | tar -C "$base/usr" -xpf -
  machine_state > "$base/complete"
}

# Views start at the same time: one makes the base, the others wait for it.
need_base() {
  exec 7> "$base.lock"
  flock 7
  if [ "$(cat "$base/complete" 2>/dev/null)" != "$(machine_state)" ]; then make_base; fi
  flock -s 7
}

copy_top_level() {
  local entry
  for entry in /bin /sbin /lib /lib32 /lib64 /libx32; do
    if [ -L "$entry" ]; then cp -a "$entry" "$root/"; elif [ -d "$entry" ]; then cp -a "$entry" "$root/"; fi
  done
  mkdir -p "$root"/{root,home,tmp,proc,run,dev,sys,mnt,media,opt,srv,boot}
  chmod 700 "$root/root"
  chmod 1777 "$root/tmp"
}

# copy_tree SOURCE-ROOT FOLDER [WHAT TO LEAVE OUT...]
copy_tree() {
  local leave=() name
  for name in "${@:3}"; do leave+=("--exclude=$name"); done
  [ -d "$1/$2" ] || return 0
  mkdir -p "$root/$2"
  tar -C "$1/$2" --one-file-system "${leave[@]}" --warning=no-file-ignored -cf - . | tar -C "$root/$2" -xpf -
}

copy_written_folders() {
  local name
  copy_tree "" etc
  copy_tree "" var ./cache/apt ./cache/ccache ./cache/man ./lib/apt ./lib/dpkg/info ./log ./tmp ./backups ./run \
    ./lock
  mkdir -p "$root"/var/{log,tmp,cache/apt}
  ln -sfn /run "$root/var/run"
  ln -sfn /run/lock "$root/var/lock"
  chmod 1777 "$root/var/tmp"
}

link_programs() {
  local name
  cp -al "$base/usr" "$root/usr"
  for name in "${copied[@]}"; do
    [ -d "$base/usr/$name" ] || continue
    rm -rf "$root/usr/$name"
    cp -a "$base/usr/$name" "$root/usr/$name"
  done
}

# Without mounts: device files of the same kind, and copies of what would have been bound.
make_devices() {
  local name
  mkdir -p "$root/run/lock" "$root/run/brindle" "$root/dev/shm" "$root/dev/pts"
  chmod 1777 "$root/dev/shm"
  for name in null zero full random urandom tty; do cp -a "/dev/$name" "$root/dev/$name"; done
  : 2>/dev/null > "$root/dev/null"
  [ -c "$root/dev/null" ]
}

# The sources, and of what was built only the command itself.
copy_source() {
  copy_tree_to "$source_dir" "$root$inside_source"
  case ${command[0]} in
    "$inside_source"/build/*)
      mkdir -p "$root${command[0]%/*}"
      cp -a "$source_dir${command[0]#"$inside_source"}" "$root${command[0]}" ;;
  esac
}

copy_binds() {
  local pair
  copy_source
  for pair in "${binds[@]}" "${shares[@]}"; do copy_tree_to "${pair%%=*}" "$root${pair#*=}"; done
}

copy_tree_to() {
  mkdir -p "${2%/*}"
  if [ -d "$1" ]; then
    mkdir -p "$2"
    tar -C "$1" --exclude=./.git --exclude=./build --warning=no-file-ignored -cf - . |
      tar -C "$2" -xpf -
  else
    cp -aL "$1" "$2"
  fi
}

# What the command wrote into a shared folder goes back to where it came from.
return_shares() {
  local pair
  [ "$kind" = chroot ] || return 0
  for pair in "${shares[@]}"; do
    if [ -d "${pair%%=*}" ]; then cp -a "$root${pair#*=}/." "${pair%%=*}/"; fi
  done
}

make_tree() {
  set -e
  root=$state/root
  layers=(--copy "$base/usr" /usr --copy /etc /etc --copy /var /var)
  chroot / /bin/true
  if [ "$kind" = copy ]; then
    . "$support/devices.sh"
    mount -t tmpfs probe /mnt
    umount /mnt
  fi
  mkdir "$root"
  need_base
  copy_top_level
  copy_written_folders
  link_programs
  if [ "$kind" = copy ]; then
    mount_devices
    mount_binds
    if [ "$network" = no ]; then ip link set lo up; fi
  else
    make_devices
    copy_binds
  fi
}

# Without a process namespace the view's processes are those whose root is its tree.
processes_in_tree() {
  local process
  for process in /proc/[0-9]*; do
    case $(readlink "$process/root" 2>/dev/null) in "$root"|"$root"/*) echo "${process#/proc/}" ;; esac
  done
}

end_processes() {
  local process signal
  if [ "$kind" = copy ]; then kill -KILL -1 2>/dev/null || true; return 0; fi
  for signal in TERM KILL; do
    for process in $(processes_in_tree); do kill -"$signal" "$process" 2>/dev/null || true; done
    sleep 0.1
  done
  return_shares
}
