# The usual view: an overlay over every file system of the machine, its upper layers in memory.
# Sourced by tools/view inside the new namespaces. Sets root, state and layers.

# A mount point of the machine that hides neither the source tree nor anything bound into the view.
choose_place() {
  local wanted
  for place in /mnt /media /srv /opt; do
    [ -d "$place" ] || continue
    for wanted in "$source_dir" "${binds[@]%%=*}" "${shares[@]%%=*}"; do
      case $wanted in "$place"|"$place"/*) continue 2 ;; esac
    done
    return
  done
  return 1
}

# Lies between the machine and the view's own layer: empties the folders that hold people's own files.
make_hiding_layer() {
  mkdir -p "$place"/empty/{root,home,tmp}
  setfattr -n trusted.overlay.opaque -v y "$place"/empty/{root,home,tmp}
  chmod 700 "$place/empty/root"
  chmod 1777 "$place/empty/tmp"
}

layer_number=0

# lay_over LOWER MOUNT-POINT NAME-IN-VIEW
lay_over() {
  local layer=$place/layers/$((layer_number++)) options=redirect_dir=off,metacopy=off
  mkdir -p "$layer/upper" "$layer/work"
  chmod --reference="${1#"$place/empty:"}" "$layer/upper"
  mount -t overlay -o "lowerdir=$1,upperdir=$layer/upper,workdir=$layer/work,$options" view "$2"
  layers+=(--layer "$layer/upper" "${1#"$place/empty:"}" "$3")
}

# An overlay sees one file system only: other ones that hold programs, settings or data are laid over too.
lay_over_other_file_systems() {
  local number parent device from point rest
  while read -r number parent device from point rest; do
    case $point in
      /usr|/usr/*|/var|/var/*|/etc|/etc/*|/opt|/opt/*|/srv|/srv/*|/bin|/sbin|/lib*) ;;
      *) continue ;;
    esac
    printf -v point '%b' "$point"  # blanks are written \040 there
    if [ -d "$point" ]; then
      case $point in "$place"*) continue ;; esac
      lay_over "$point" "$root$point" "$point" || mount --rbind -o ro "$point" "$root$point"
    else
      cp -a --remove-destination "$point" "$root$point"
    fi
  done < /proc/self/mountinfo
}

make_tree() {
  set -e
  . "$support/devices.sh"
  choose_place
  mount -t tmpfs -o mode=755 view "$place"
  state=$place/state root=$place/root layers=()
  mkdir "$state" "$root"
  make_hiding_layer
  lay_over "$place/empty:/" "$root" ""
  lay_over_other_file_systems
  mount_devices
  mount_binds
  if [ "$network" = no ]; then ip link set lo up; fi
}

# This shell is the first process of the view: -1 means all the others.
end_processes() {
  local wait
  kill -TERM -1 2>/dev/null || return 0
  for wait in 1 2 3 4 5 6 7 8 9 10; do
    kill -0 -1 2>/dev/null || return 0
    sleep 0.05
  done
  kill -KILL -1 2>/dev/null || true
}
