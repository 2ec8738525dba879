# The shared list of ioctl cases against the kernel, and a drive that never answers.
# shellcheck shell=dash source=tests/vm/guest/functions.sh
. /vm/functions.sh

modprobe virtio_scsi
start_ata answers hanging
start_nvme_target
connect_nvme answers
connect_nvme health-result
rule_nvme health-result 'result = 0x06 0x01 0x1234'
rule_nvme health-result 'result = 0x02 0x02 0x80000000'

scsi_nodes() {
  grep -l VM-QEMU-SCSI /sys/block/sd*/device/vpd_pg80
}
wait_for 20 scsi_nodes

ata=ata=/dev/$(ata_node answers)
nvme=nvme=/dev/$(nvme_node answers)
namespace=nvme-namespace=$(ls -d /dev/nvme?n1)
mkdir -p /results/agreement
ioctl-probe /vm/cases.json root "$ata" "$nvme" "$namespace" \
  "hanging=/dev/$(ata_node hanging)" "scsi=/dev/$(scsi_nodes | cut -d/ -f4)" \
  "nvme-result=/dev/$(nvme_node health-result)" >/results/agreement/root 2>&1 || true
chmod 0644 /dev/sd* /dev/nvme?*
su nobody -c "ioctl-probe /vm/cases.json nobody $ata $nvme $namespace" \
  >/results/agreement/nobody 2>&1 || true

configure PollRate=10
list hanging
heal_ata hanging
list healed
ask_peers healed
