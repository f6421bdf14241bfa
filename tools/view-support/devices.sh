# The view's own /proc, /dev and /run, where mounting is allowed. Sourced by overlay.sh and copy.sh.

bind_device_files() {
  local name
  for name in null zero full random urandom tty; do
    : > "$root/dev/$name"
    mount --bind "/dev/$name" "$root/dev/$name"
  done
}

link_standard_files() {
  ln -s /proc/self/fd "$root/dev/fd"
  ln -s /proc/self/fd/0 "$root/dev/stdin"
  ln -s /proc/self/fd/1 "$root/dev/stdout"
  ln -s /proc/self/fd/2 "$root/dev/stderr"
  ln -s pts/ptmx "$root/dev/ptmx"
}

mount_devices() {
  mount -t proc proc "$root/proc"
  mount -t tmpfs -o mode=755 run "$root/run"
  mount -t tmpfs -o mode=755 dev "$root/dev"
  mkdir -p "$root/run/lock" "$root/run/brindle/source" "$root/dev/shm" "$root/dev/pts"
  bind_device_files
  link_standard_files
  mount -t tmpfs -o mode=1777 shm "$root/dev/shm"
  mount -t devpts -o newinstance,ptmxmode=0666 devpts "$root/dev/pts"
}

# make_target OUTSIDE INSIDE: something of the same kind to mount on
make_target() {
  if [ -d "$1" ]; then mkdir -p "$root$2"; else mkdir -p "$root${2%/*}"; : >> "$root$2"; fi
}

mount_binds() {
  local pair
  mount --rbind -o ro "$source_dir" "$root$inside_source"
  for pair in "${binds[@]}"; do
    make_target "${pair%%=*}" "${pair#*=}"
    mount --rbind -o ro "${pair%%=*}" "$root${pair#*=}"
  done
  for pair in "${shares[@]}"; do
    make_target "${pair%%=*}" "${pair#*=}"
    mount --rbind "${pair%%=*}" "$root${pair#*=}"
  done
}
