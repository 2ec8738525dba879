# QEMU's own drives under the distribution's drivers.
# shellcheck shell=dash source=tests/vm/guest/functions.sh
. /vm/functions.sh

modprobe ata_piix
modprobe virtio_scsi
wait_for 20 test -b /dev/sda -a -b /dev/sdb -a -b /dev/sdc -a -b /dev/sdd
wait_for 20 test -c /dev/nvme0 -a -c /dev/nvme1

configure PollRate=10
list all
ask_peers all
