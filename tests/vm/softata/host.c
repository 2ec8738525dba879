// SPDX-License-Identifier: GPL-2.0
/* The libata host: takes queued commands to the drives and brings the answers back. */
#include <linux/debugfs.h>
#include <linux/libata.h>
#include <linux/module.h>
#include <linux/platform_device.h>
#include <linux/scatterlist.h>

#include "softata.h"

static unsigned int ports = 1;
module_param(ports, uint, 0444);
MODULE_PARM_DESC(ports, "number of ports, each with one drive");

struct softata_port {
	struct ata_port *ap;
	struct softata_drive *drive;
	struct work_struct work;
	struct softata_answer answer; /* to the command in flight; guarded by ap->lock */
};

static struct platform_device *platform;
static struct softata_drive *drives[SOFTATA_MAX_PORTS];
static struct softata_port port_data[SOFTATA_MAX_PORTS];
static struct ata_host *host;
static DEFINE_MUTEX(host_mutex); /* guards host */
static struct dentry *files;

/* libata holds the port's lock when it issues; the command is carried out from a worker. */
static unsigned int softata_qc_issue(struct ata_queued_cmd *qc)
{
	struct softata_port *port = qc->ap->private_data;

	schedule_work(&port->work);
	return 0;
}

static bool softata_qc_fill_rtf(struct ata_queued_cmd *qc)
{
	struct softata_port *port = qc->ap->private_data;
	unsigned long flags = qc->result_tf.flags;

	qc->result_tf = qc->tf;
	qc->result_tf.flags = flags;
	qc->result_tf.status = port->answer.status;
	qc->result_tf.error = port->answer.error;
	qc->result_tf.lbam = port->answer.lbam;
	qc->result_tf.lbah = port->answer.lbah;
	return true;
}

static void transfer_to_host(struct ata_queued_cmd *qc, const struct softata_answer *answer)
{
	if (qc->dma_dir != DMA_FROM_DEVICE || !answer->length)
		return;
	if (answer->data)
		sg_copy_from_buffer(qc->sg, qc->n_elem, answer->data, answer->length);
	else
		sg_zero_buffer(qc->sg, qc->n_elem, answer->length, 0);
}

static void softata_work(struct work_struct *work)
{
	struct softata_port *port = container_of(work, struct softata_port, work);
	struct ata_port *ap = port->ap;
	struct ata_queued_cmd *qc;
	unsigned long flags;

	spin_lock_irqsave(ap->lock, flags);
	/* None when the error handler has taken the command over in the meantime. */
	qc = ata_qc_from_tag(ap, ap->link.active_tag);
	if (qc) {
		softata_drive_execute(port->drive, &qc->tf, qc->nbytes, &port->answer);
		if (!port->answer.hang) {
			qc->err_mask |= ac_err_mask(port->answer.status);
			transfer_to_host(qc, &port->answer);
			ata_qc_complete(qc);
		}
	}
	spin_unlock_irqrestore(ap->lock, flags);
}

static int softata_softreset(struct ata_link *link, unsigned int *class, unsigned long deadline)
{
	*class = ATA_DEV_ATA;
	return 0;
}

static struct scsi_host_template softata_sht = {
	ATA_PIO_SHT("softata"),
};

static struct ata_port_operations softata_ops = {
	.inherits = &sata_port_ops,
	.qc_prep = ata_noop_qc_prep,
	.qc_issue = softata_qc_issue,
	.qc_fill_rtf = softata_qc_fill_rtf,
	.cable_detect = ata_cable_sata,
	.softreset = softata_softreset,
	.hardreset = ATA_OP_NULL,
};

/* Registers the host, whose ports are then probed; once. Called by the file "start". */
static int softata_start(void)
{
	struct ata_host *fresh;
	unsigned int i;
	int rc;

	mutex_lock(&host_mutex);
	rc = -EBUSY;
	if (host)
		goto out;
	rc = -ENOMEM;
	fresh = ata_host_alloc(&platform->dev, ports);
	if (!fresh)
		goto out;
	for (i = 0; i < ports; i++) {
		struct ata_port *ap = fresh->ports[i];

		port_data[i].ap = ap;
		ap->private_data = &port_data[i];
		ap->ops = &softata_ops;
		ap->flags |= ATA_FLAG_SATA | ATA_FLAG_NO_ATAPI;
		ap->pio_mask = ATA_PIO4;
	}
	/* No interrupt and no handler: the worker completes the commands. */
	rc = ata_host_activate(fresh, 0, NULL, 0, &softata_sht);
	if (!rc)
		host = fresh;
out:
	mutex_unlock(&host_mutex);
	return rc;
}

static void destroy_drives(void)
{
	unsigned int i;

	for (i = 0; i < ports; i++)
		softata_drive_destroy(drives[i]);
}

static int __init softata_init(void)
{
	unsigned int i;

	if (ports < 1 || ports > SOFTATA_MAX_PORTS)
		return -EINVAL;
	platform = platform_device_register_simple("softata", PLATFORM_DEVID_NONE, NULL, 0);
	if (IS_ERR(platform))
		return PTR_ERR(platform);
	for (i = 0; i < ports; i++) {
		drives[i] = softata_drive_create(i);
		if (!drives[i]) {
			destroy_drives();
			platform_device_unregister(platform);
			return -ENOMEM;
		}
		port_data[i].drive = drives[i];
		INIT_WORK(&port_data[i].work, softata_work);
	}
	files = softata_files_create(drives, ports, softata_start);
	return 0;
}

static void __exit softata_exit(void)
{
	unsigned int i;

	debugfs_remove_recursive(files);
	if (host)
		ata_host_detach(host);
	for (i = 0; i < ports; i++)
		cancel_work_sync(&port_data[i].work);
	platform_device_unregister(platform);
	destroy_drives();
}

module_init(softata_init);
module_exit(softata_exit);
MODULE_DESCRIPTION("ATA host whose drives are made of memory, for tests");
MODULE_LICENSE("GPL");
