# In the guest of tests/vm: the processor time of one reading by the library and by its peers, for
# the same drives under the distribution's drivers.
# shellcheck shell=dash source=tests/vm/guest/functions.sh
. /vm/functions.sh

# At a till's log level, and with no reading but those that are measured.
echo 'PollRate=1000000' >/etc/ssddrv/ssddrv.ini

start_ata statistics
start_nvme_target
connect_nvme plain
wait_for 20 nvme_node plain
ata=/dev/$(ata_node statistics)
nvme=/dev/$(nvme_node plain)
wait_for 20 test -c "$nvme"

bench_peers "$ata" smartctl -j -A -l devstat "$ata" >/results/vs_smartctl.json
bench_peers "$nvme" nvme smart-log -o json "$nvme" >/results/vs_nvme_cli.json
