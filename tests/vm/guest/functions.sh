# What the scenarios are made of; they source it. busybox sh.
# shellcheck shell=dash

softata=/sys/kernel/debug/softata
target=/run/nvme
library_log=/var/log/ssddrv/ssddrv.log

set -e

# wait_for SECONDS COMMAND...: until the command succeeds; fails when the time is up.
wait_for() {
  local tries=$(($1 * 20))
  shift
  until "$@" >/dev/null 2>&1; do
    tries=$((tries - 1))
    if [ "$tries" -le 0 ]; then
      echo "waited in vain for: $*"
      return 1
    fi
    usleep 50000
  done
}

# start_ata NAME...: a software ATA host with the described drives, one a port, in this order.
start_ata() {
  local port=0 name
  modprobe softata ports=$#
  for name in "$@"; do
    mkdir -p /run/ata
    cp "/vm/drives/ata/$name" "/run/ata/$name"
    ln -s "$softata/port$port" "/run/ata/$name.port"
    softata-drive "/run/ata/$name" "/run/ata/$name.port"
    port=$((port + 1))
  done
  echo 1 >$softata/start
  for name in "$@"; do
    wait_for 20 ata_node "$name"
  done
}

# describe FILE KEY VALUE: gives the key of a drive description another value, in one step.
describe() {
  sed "s|^$2 *=.*|$2 = $3|" "$1" >"$1.new"
  mv "$1.new" "$1"
}

# change_ata NAME KEY VALUE: changes a drive that runs.
change_ata() {
  describe "/run/ata/$1" "$2" "$3"
  softata-drive "/run/ata/$1" "/run/ata/$1.port"
}

# heal_ata NAME: takes the drive's rules away.
heal_ata() {
  echo >"/run/ata/$1.port/rules"
}

field() {
  sed -n "s/^$2 *= *//p" "$1"
}

# ata_node NAME: the drive's kernel name (sda); disks are probed in no certain order.
ata_node() {
  local file
  file=$(grep -l "$(field "/run/ata/$1" serial)" /sys/block/sd*/device/vpd_pg80 2>/dev/null) ||
    return 1
  file=${file#/sys/block/}
  echo "${file%%/*}"
}

# start_nvme_target: the target that connect_nvme connects to.
start_nvme_target() {
  modprobe nvme-tcp
  mkdir -p $target
  nvme-target 4420 $target
}

# connect_nvme NAME: a controller with that description.
connect_nvme() {
  cp "/vm/drives/nvme/$1" "$target/$1"
  echo "transport=tcp,traddr=127.0.0.1,trsvcid=4420,nqn=nqn.2020-01.vm:$1,nr_io_queues=1" \
    >/dev/nvme-fabrics
}

# change_nvme NAME KEY VALUE: changes a controller; it reads its description for each command.
change_nvme() {
  describe "$target/$1" "$2" "$3"
}

# rule_nvme NAME RULE: gives the controller one more rule.
rule_nvme() {
  echo "$2" >>"$target/$1"
}

# heal_nvme NAME: takes its rules away.
heal_nvme() {
  sed -i -e '/^reject/d' -e '/^result/d' "$target/$1"
}

# nvme_node NAME: the controller's kernel name (nvme0).
nvme_node() {
  local file
  file=$(grep -l ":$1\$" /sys/class/nvme/*/subsysnqn) || return 1
  basename "$(dirname "$file")"
}

forget_commands() {
  local file
  for file in /run/ata/*.port/commands; do
    [ ! -e "$file" ] || echo forget >"$file"
  done
  rm -f $target/*.log
}

# save_commands FOLDER: which commands reached which drive since they were last forgotten.
save_commands() {
  local file name
  mkdir -p "$1"
  for file in /run/ata/*.port; do
    [ -e "$file" ] || continue
    name=$(basename "$file" .port)
    cat "$file/commands" >"$1/$name"
  done
  for file in "$target"/*.log; do
    [ ! -e "$file" ] || cp "$file" "$1/$(basename "$file" .log)"
  done
}

# save_nodes FILE: each drive's name in the tests and in the kernel.
save_nodes() {
  local file name
  for file in /run/ata/*.port "$target"/*; do
    name=$(basename "$file" .port)
    case $file in
      *.log | *'*'*) ;;
      *.port) echo "$name $(ata_node "$name")" ;;
      *) echo "$name $(nvme_node "$name")" ;;
    esac
  done >"$1"
}

# configure KEY=VALUE...: the library's settings.
configure() {
  printf '%s\n' "$@" >/etc/ssddrv/ssddrv.ini
  printf 'Level=4\n' >/etc/ssddrv/log.conf
}

ssdlife() {
  command ssdlife --library /lib/libvekssdprov.so.0 "$@"
}

# list STEP: what ssdlife lists, with its log and the commands that it sent to the drives.
list() {
  local folder=/results/$1 status=0
  mkdir -p "$folder"
  rm -f "$library_log"
  forget_commands
  ssdlife --format json list >"$folder/list.json" 2>"$folder/list.stderr" || status=$?
  echo "$status" >"$folder/list.exit"
  save_commands "$folder/commands"
  save_nodes "$folder/nodes"
  cp "$library_log" "$folder/"
}

# logged TEXT [TIMES]: the library has logged it, so many times at least.
logged() {
  [ "$(grep -c -e "$1" "$library_log")" -ge "${2:-1}" ]
}

# ask_peers STEP: what smartctl and nvme say of every drive. Their own verdict on the drive's
# health is in their exit code, so that it is kept but not looked at here.
ask_peers() {
  local folder=/results/$1 node
  mkdir -p "$folder/smartctl" "$folder/nvme"
  for node in $(cd /dev && ls -d sd? sd?? nvme? nvme?? 2>/dev/null); do
    smartctl --json -i -A -l devstat "/dev/$node" >"$folder/smartctl/$node.json" || true
    case $node in
      nvme*)
        nvme smart-log -o json "/dev/$node" >"$folder/nvme/$node.smart-log.json" || true
        nvme id-ctrl -o json "/dev/$node" >"$folder/nvme/$node.id-ctrl.json" || true
        ;;
    esac
  done
  # The serial numbers of all disks, one a line: the page behind its four bytes of header.
  for node in /sys/block/sd*; do
    tail -c +5 "$node/device/vpd_pg80" && echo
  done >"$folder/present"
  cat /sys/class/nvme/*/serial >>"$folder/present"
}
