# shellcheck shell=bash
# The view's own /proc, /dev and /run, where mounting is allowed. Sourced by tools/view. PLACE/root is the view's
# tree.

bind_device_files() {  # DEV-FOLDER
  local name
  for name in null zero full random urandom tty; do
    : > "$1/$name"
    mount --bind "/dev/$name" "$1/$name"
  done
}

link_standard_files() {  # DEV-FOLDER
  ln -s /proc/self/fd "$1/fd"
  ln -s /proc/self/fd/0 "$1/stdin"
  ln -s /proc/self/fd/1 "$1/stdout"
  ln -s /proc/self/fd/2 "$1/stderr"
  ln -s pts/ptmx "$1/ptmx"
}

mount_devices() {  # PLACE
  local root=$1/root
  mount -t proc proc "$root/proc"
  mount -t tmpfs -o mode=755 run "$root/run"
  mount -t tmpfs -o mode=755 dev "$root/dev"
  mkdir -p "$root/run/lock" "$root/run/brindle/source" "$root/dev/shm" "$root/dev/pts"
  bind_device_files "$root/dev"
  link_standard_files "$root/dev"
  mount -t tmpfs -o mode=1777 shm "$root/dev/shm"
  mount -t devpts -o newinstance,ptmxmode=0666 devpts "$root/dev/pts"
}

# Something of the same kind to mount on.
make_target() {  # OUTSIDE INSIDE
  if [ -d "$1" ]; then mkdir -p "$2"; else mkdir -p "${2%/*}"; : >> "$2"; fi
}

mount_pairs() {  # PLACE ro|rw OUTSIDE=INSIDE...
  local pair
  for pair in "${@:3}"; do
    make_target "${pair%%=*}" "$1/root${pair#*=}"
    mount --rbind -o "$2" "${pair%%=*}" "$1/root${pair#*=}"
  done
}
