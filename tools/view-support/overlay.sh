# shellcheck shell=bash
# The usual view: an overlay over every file system of the machine, its upper layers in memory. Sourced by
# tools/view inside the new namespaces.

# A mount point of the machine that hides neither the source tree nor anything bound into the view.
choose_place() {  # FOLDER THAT IS SHOWN...
  local place shown
  for place in /mnt /media /srv /opt; do
    [ -d "$place" ] || continue
    for shown in "$@"; do
      case $shown in "$place"|"$place"/*) continue 2 ;; esac
    done
    echo "$place"
    return
  done
  return 1
}

# Lies between the machine and the view's own layer: empties the folders that hold people's own files.
make_hiding_layer() {  # FOLDER
  mkdir -p "$1"/{root,home,tmp}
  setfattr -n trusted.overlay.opaque -v y "$1"/{root,home,tmp}
  chmod 700 "$1/root"
  chmod 1777 "$1/tmp"
}

# MOUNT-POINT is a folder of the machine, or "" for all of it. HIDING is a layer between the two.
lay_over() {  # PLACE MOUNT-POINT [HIDING]
  local lower=${2:-/} layer options=redirect_dir=off,metacopy=off
  layer=$(mktemp -d "$1/layer-XXXXXX")
  mkdir "$layer/upper" "$layer/work"
  chmod --reference="$lower" "$layer/upper"
  mount -t overlay -o "lowerdir=${3:+$3:}$lower,upperdir=$layer/upper,workdir=$layer/work,$options" view "$1/root$2" ||
    return
  printf '%s\0' --layer "$layer/upper" "$lower" "$2" >> "$1/layers"
}

# An overlay sees one file system only: other ones that hold programs, settings or data are laid over too.
lay_over_other_file_systems() {  # PLACE
  local point
  while read -r _ _ _ _ point _; do
    case $point in
      /usr|/usr/*|/var|/var/*|/etc|/etc/*|/opt|/opt/*|/srv|/srv/*|/bin|/sbin|/lib*) ;;
      *) continue ;;
    esac
    printf -v point '%b' "$point"  # blanks are written \040 there
    if [ -d "$point" ]; then
      case $point in "$1"*) continue ;; esac
      lay_over "$1" "$point" || mount --rbind -o ro "$point" "$1/root$point"
    else
      cp -a --remove-destination "$point" "$1/root$point"
    fi
  done < /proc/self/mountinfo
}

# A folder of people, which the hiding layer keeps out of the view. Its owner, mode and time are the machine's as well.
# What only changes its owner, as chown of a whole home does, is not copied; false where any of this is refused.
lay_home_over() {  # PLACE FOLDER
  local layer mark
  case $2 in /root|/root/*|/home/*) ;; *) return 1 ;; esac
  case $2 in *[!A-Za-z0-9/._-]*|*/../*|*/..) return 1 ;; esac  # a comma is mount's own
  layer=$(mktemp -d "$1/layer-XXXXXX")
  mkdir "$layer/upper" "$layer/work"
  mkdir -p "$1/root$2"
  for mark in chown chmod touch; do "$mark" --reference="$2" "$layer/upper" || return; done
  mount -t overlay -o "lowerdir=$2,upperdir=$layer/upper,workdir=$layer/work,redirect_dir=on,metacopy=on" view \
    "$1/root$2" 2>/dev/null || return
  printf '%s\0' --layer "$layer/upper" "$2" "$2" >> "$1/layers"
}

make_tree() {  # KIND PLACE
  mount -t tmpfs -o mode=755 view "$2"
  mkdir "$2/state" "$2/root"
  make_hiding_layer "$2/empty"
  lay_over "$2" "" "$2/empty"
  lay_over_other_file_systems "$2"
  mount_devices "$2"
}

show() { mount_pairs "${@:2}"; }  # KIND PLACE ro|rw OUTSIDE=INSIDE...

# Nothing to do: what was built is shown with the sources, and what is shared is the machine's own.
show_built() { :; }
bring_back() { :; }

# This shell is the first process of the view: -1 means all the others.
end_processes() {
  kill -TERM -1 2>/dev/null || return 0
  for _ in 1 2 3 4 5 6 7 8 9 10; do
    kill -0 -1 2>/dev/null || return 0
    sleep 0.05
  done
  kill -KILL -1 2>/dev/null || true
}
