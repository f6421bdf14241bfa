# shellcheck shell=bash
# Where overlays are refused: a folder tree that holds copies. Sourced by tools/view for the kinds "copy"
# (namespaces are allowed) and "chroot" (nothing else is).
#
# What the machine may see written (settings, data, programs of its own) is copied afresh for each view.
# The rest of /usr is copied once into a base, and each view holds hard links to the base: never to the
# machine's own files, so that even a program that overwrites one in place spoils nothing but the base.

choose_place() { echo "$BRINDLE_VIEW_STATE"; }

# Not needed to run anything here, and half of the files.
readonly left_out=(./share/doc ./share/man ./share/info ./share/help ./share/locale ./share/gtk-doc ./share/fpcsrc
  ./include ./src ./lib/gcc ./lib/debug ./lib/jvm './lib/llvm*' './lib/go*' ./lib/node_modules './local/cuda*' ./games)

# In /usr, yet of the kind that a migration or its tests replace.
readonly copied=(share/pixmaps share/applications share/fonts share/cups share/ppd local/brindle local/bin local/share
  local/libexec)

# Of /var likewise; the machine goes on writing there while a view is used.
readonly left_out_of_var=(cache/apt cache/ccache cache/man lib/apt lib/dpkg/info log tmp backups run lock)

# The installed packages are what /usr consists of; a base of other packages is made again.
machine_state() { stat -c '%Y %s' /var/lib/dpkg/status /usr/local /usr/local/bin 2>/dev/null; }

make_base() {  # BASE
  rm -rf --one-file-system "$1"
  mkdir -p "$1/usr"
  tar -C /usr "${left_out[@]/#/--exclude=}" -cf - . | tar -C "$1/usr" -xpf -
  machine_state > "$1/complete"
}

# Views start at the same time: one makes the base, the others wait for it.
need_base() {  # BASE
  exec 7> "$1.lock"
  flock 7
  if [ "$(cat "$1/complete" 2>/dev/null)" != "$(machine_state)" ]; then make_base "$1"; fi
  flock -s 7
}

copy_top_level() {  # ROOT
  local entry
  for entry in /bin /sbin /lib /lib32 /lib64 /libx32; do
    if [ -L "$entry" ] || [ -d "$entry" ]; then cp -a "$entry" "$1/"; fi
  done
  mkdir -p "$1"/{root,home,tmp,proc,run,dev,sys,mnt,media,opt,srv,boot}
  chmod 700 "$1/root"
  chmod 1777 "$1/tmp"
}

copy_machine_folder() {  # ROOT FOLDER [WHAT TO LEAVE OUT...]
  mkdir -p "$1/$2"
  tar -C "/$2" --one-file-system "${@:3}" --warning=no-file-ignored -cf - . | tar -C "$1/$2" -xpf -
}

copy_written_folders() {  # ROOT
  copy_machine_folder "$1" etc
  copy_machine_folder "$1" var "${left_out_of_var[@]/#/--exclude=./}"
  mkdir -p "$1"/var/{log,tmp,cache/apt}
  ln -sfn /run "$1/var/run"
  ln -sfn /run/lock "$1/var/lock"
  chmod 1777 "$1/var/tmp"
}

link_programs() {  # BASE ROOT
  local name
  cp -al "$1/usr" "$2/usr"
  for name in "${copied[@]}"; do
    [ -d "$1/usr/$name" ] || continue
    rm -rf "${2:?}/usr/$name"
    cp -a "$1/usr/$name" "$2/usr/$name"
  done
}

# Without mounts: device files of the same kind.
make_devices() {  # ROOT
  local name
  mkdir -p "$1/run/lock" "$1/run/brindle" "$1/dev/shm" "$1/dev/pts"
  chmod 1777 "$1/dev/shm"
  for name in null zero full random urandom tty; do cp -a "/dev/$name" "$1/dev/$name"; done
  : 2>/dev/null > "$1/dev/null"
  [ -c "$1/dev/null" ]
}

# Ends this kind before anything has been copied when it is refused.
try_rights() {  # KIND
  chroot / /bin/true
  if [ "$1" = copy ]; then
    mount -t tmpfs probe /mnt
    umount /mnt
  fi
}

make_tree() {  # KIND PLACE
  local root=$2/root base=${BRINDLE_VIEW_BASE:-${2%/*}/brindle-view-base}
  try_rights "$1"
  mkdir "$root" "$2/state"
  printf '%s\0' --copy "$base/usr" /usr --copy /etc /etc --copy /var /var \
    "${left_out_of_var[@]/#/--left-out=/var/}" > "$2/layers"
  need_base "$base"
  copy_top_level "$root"
  copy_written_folders "$root"
  link_programs "$base" "$root"
  if [ "$1" = copy ]; then mount_devices "$2"; else make_devices "$root"; fi
}

# Homes may be larger than the place for copies.
lay_home_over() { return 1; }  # PLACE FOLDER

# Without mounts: copies of what would have been bound; of the sources without what was built.
copy_pair() {  # OUTSIDE INSIDE
  mkdir -p "${2%/*}"
  if [ -d "$1" ]; then
    mkdir -p "$2"
    tar -C "$1" --exclude=./.git --exclude=./build --warning=no-file-ignored -cf - . | tar -C "$2" -xpf -
  else
    cp -aL "$1" "$2"
  fi
}

show() {  # KIND PLACE ro|rw OUTSIDE=INSIDE...
  local pair
  if [ "$1" = copy ]; then mount_pairs "${@:2}"; return; fi
  for pair in "${@:4}"; do copy_pair "${pair%%=*}" "$2/root${pair#*=}"; done
}

# Of what was built only the command itself is copied.
show_built() {  # KIND PLACE OUTSIDE=INSIDE
  if [ "$1" = chroot ]; then copy_pair "${3%%=*}" "$2/root${3#*=}"; fi
}

# What the command wrote into a shared folder goes back to where it came from.
bring_back() {  # KIND PLACE OUTSIDE=INSIDE...
  local pair
  [ "$1" = chroot ] || return 0
  for pair in "${@:3}"; do
    if [ -d "${pair%%=*}" ]; then cp -a "$2/root${pair#*=}/." "${pair%%=*}/"; fi
  done
}

# Without a process namespace the view's processes are those whose root is its tree.
processes_in_tree() {  # ROOT
  local process
  for process in /proc/[0-9]*; do
    case $(readlink "$process/root" 2>/dev/null) in "$1"|"$1"/*) echo "${process#/proc/}" ;; esac
  done
}

end_processes() {  # KIND PLACE
  local process signal
  if [ "$1" = copy ]; then kill -KILL -1 2>/dev/null || true; return 0; fi
  for signal in TERM KILL; do
    for process in $(processes_in_tree "$2/root"); do kill -"$signal" "$process" 2>/dev/null || true; done
    sleep 0.1
  done
}
