# Software drives whose wear the test knows and moves.
# shellcheck shell=dash

start_ata sandisk-p4 sandisk-p4-no-230 statistics statistics-7-pages statistics-wrong-page \
  statistics-refused statistics-not-valid smart-disabled rotating removable wearing
start_nvme_target
for name in plain three-namespaces old; do
  connect_nvme $name
done

# The default road to the statistics, then the other.
configure PollRate=10
list scsi-road
ask_peers scsi-road
configure PollRate=10 SptLogAccess=0
list drive-command-road
