# Software drives of every kind that the library tells apart, with known wear that moves.
# shellcheck shell=dash source=tests/vm/guest/functions.sh
. /vm/functions.sh

start_ata sandisk-p4 sandisk-p4-no-230 statistics statistics-7-pages statistics-wrong-page \
  statistics-refused statistics-not-valid smart-disabled rotating removable wearing
start_nvme_target
for name in plain three-namespaces old unknown-wear sandisk-model refuses-namespace \
  refuses-health health-result refuses-identify identify-result; do
  connect_nvme $name
done
rule_nvme health-result 'result = 0x02 0x02 0x1234'
rule_nvme refuses-identify 'reject = 0x06 0x01 0x4002'
rule_nvme identify-result 'result = 0x06 0x01 0x80000000'

# Both roads to the device statistics.
configure PollRate=10
list scsi-road
ask_peers scsi-road
configure PollRate=10 SptLogAccess=0
list drive-command-road

# Eleven controllers, none of them sick.
configure PollRate=10
for name in refuses-health health-result refuses-identify identify-result; do
  heal_nvme $name
done
connect_nvme eleventh
list eleven
ask_peers eleven

# Without privilege.
status=0
mkdir -p /results/nobody
su nobody -c 'ssdlife --library /lib/libvekssdprov.so.0 list' \
  >/results/nobody/stdout 2>/results/nobody/stderr || status=$?
echo "$status" >/results/nobody/exit

# A SATA and an NVMe drive that pass the threshold of 95 while they are watched, in the steps 95,
# 97 and 98; "old" is beyond it from the start.
mkdir -p /results/watch
configure PollRate=1
rm -f "$library_log"
/bin/ssdlife --library /lib/libvekssdprov.so.0 --format json watch \
  >/results/watch/indications 2>/results/watch/stderr &
watcher=$!
wait_for 30 logged 'SsdProvider::enableIndications'
for percentage in 95 97 98; do
  change_ata wearing percentage $percentage
  change_nvme plain percentage $percentage
  # A reading that has begun when the other is logged has sent what it had to send.
  wait_for 30 logged "POH = 1400, Percentage Used = $percentage" 2
  wait_for 30 logged "POH = 5000, Percentage Used = $percentage" 2
  grep -c . /results/watch/indications >/results/watch/after-$percentage || true
done
kill -TERM $watcher
status=0
wait $watcher || status=$?
echo "$status" >/results/watch/exit
cp "$library_log" /results/watch/
list worn
ask_peers worn
