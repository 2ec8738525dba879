# The shared list of ioctl cases against the kernel, and a drive that never answers.
# shellcheck shell=dash

modprobe virtio_scsi
start_ata answers hanging
start_nvme_target
connect_nvme answers
connect_nvme result
wait_for 20 grep -q VM-QEMU-SCSI /sys/block/sd*/device/vpd_pg80
printf '%s\n' 'result = 0x06 0x01 0x1234' 'result = 0x02 0x02 0x80000000' >>$target/result

scsi_node=$(grep -l VM-QEMU-SCSI /sys/block/sd*/device/vpd_pg80 | cut -d/ -f4)
namespace_node=$(cd /sys/block && ls -d nvme?n1)
chmod 0644 /dev/sd* /dev/nvme?*

probe() {
  ioctl-probe /vm/cases.json "$1" \
    ata=/dev/"$(ata_node answers)" hanging=/dev/"$(ata_node hanging)" scsi=/dev/"$scsi_node" \
    nvme=/dev/"$(nvme_node answers)" nvme-result=/dev/"$(nvme_node result)" \
    nvme-namespace=/dev/"$namespace_node"
}

mkdir -p /results/agreement
probe root >/results/agreement/root 2>&1 || true
nodes="ata=/dev/$(ata_node answers) nvme=/dev/$(nvme_node answers) nvme-namespace=/dev/$namespace_node"
su nobody -c "ioctl-probe /vm/cases.json nobody $nodes" >/results/agreement/nobody 2>&1 || true
