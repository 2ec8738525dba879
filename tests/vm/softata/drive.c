// SPDX-License-Identifier: GPL-2.0
/* One drive: command in, answer out. */
#include <linux/libata.h>
#include <linux/slab.h>
#include <linux/vmalloc.h>

#include "softata.h"

#define STATUS_GOOD (ATA_DRDY | ATA_DSC)             /* 0x50 */
#define STATUS_FAILED (ATA_DRDY | ATA_DSC | ATA_ERR) /* 0x51 */

static void answer_abort(struct softata_answer *answer)
{
	answer->status = STATUS_FAILED;
	answer->error = ATA_ABORTED;
}

static void answer_data(struct softata_answer *answer, const u8 *data, unsigned int length)
{
	answer->data = data;
	answer->length = length;
}

/*
 * A log can be read as far as the directory at address 0 says that it has pages; a drive whose
 * directory has no version word has no logs at all.
 */
static void answer_log(const u8 *logs, u8 address, unsigned int page, unsigned int count,
		       struct softata_answer *answer)
{
	const u8 *directory = logs;
	unsigned int pages = address ? directory[2 * address] | directory[2 * address + 1] << 8 : 1;

	if (!(directory[0] | directory[1]) || page + count > pages ||
	    page + count > SOFTATA_LOG_PAGES) {
		answer_abort(answer);
		return;
	}
	answer_data(answer, logs + (address * SOFTATA_LOG_PAGES + page) * ATA_SECT_SIZE,
		    count * ATA_SECT_SIZE);
}

static void answer_smart(struct softata_drive *drive, const struct ata_taskfile *tf,
			 struct softata_answer *answer)
{
	if (tf->lbam != ATA_SMART_LBAM_PASS || tf->lbah != ATA_SMART_LBAH_PASS) {
		answer_abort(answer);
		return;
	}
	switch (tf->feature) {
	case ATA_SMART_READ_VALUES:
		answer_data(answer, drive->smart, ATA_SECT_SIZE);
		break;
	case ATA_SMART_READ_THRESHOLDS:
		answer_data(answer, NULL, ATA_SECT_SIZE);
		break;
	case 0xd5: /* READ LOG */
		answer_log(drive->smart_logs, tf->lbal, 0, tf->nsect, answer);
		break;
	case 0xd2: /* ENABLE/DISABLE ATTRIBUTE AUTOSAVE */
	case ATA_SMART_ENABLE:
	case 0xda: /* RETURN STATUS: the signature comes back unchanged, the drive is well */
		break;
	default:
		answer_abort(answer);
	}
}

static void answer_command(struct softata_drive *drive, const struct ata_taskfile *tf,
			   unsigned int transfer, struct softata_answer *answer)
{
	switch (tf->command) {
	case ATA_CMD_ID_ATA:
		answer_data(answer, drive->identify, ATA_SECT_SIZE);
		break;
	case ATA_CMD_SMART:
		answer_smart(drive, tf, answer);
		break;
	case ATA_CMD_READ_LOG_EXT:
		answer_log(drive->gp_logs, tf->lbal, tf->lbam | tf->hob_lbam << 8,
			   tf->nsect | tf->hob_nsect << 8, answer);
		break;
	case ATA_CMD_PIO_READ:
	case ATA_CMD_PIO_READ_EXT:
	case ATA_CMD_READ_MULTI:
	case ATA_CMD_READ_MULTI_EXT:
		answer_data(answer, NULL, transfer);
		break;
	case ATA_CMD_PIO_WRITE:
	case ATA_CMD_PIO_WRITE_EXT:
	case ATA_CMD_WRITE_MULTI:
	case ATA_CMD_WRITE_MULTI_EXT:
	case ATA_CMD_FLUSH:
	case ATA_CMD_FLUSH_EXT:
	case ATA_CMD_SET_FEATURES:
	case ATA_CMD_SET_MULTI:
	case ATA_CMD_INIT_DEV_PARAMS:
	case ATA_CMD_CHK_POWER:
	case ATA_CMD_STANDBYNOW1:
	case ATA_CMD_IDLEIMMEDIATE:
	case ATA_CMD_VERIFY:
	case ATA_CMD_VERIFY_EXT:
		break;
	default:
		answer_abort(answer);
	}
}

static bool matches(int wanted, u8 value)
{
	return wanted == SOFTATA_ANY || wanted == value;
}

static const struct softata_rule *find_rule(const struct softata_drive *drive,
					    const struct ata_taskfile *tf)
{
	unsigned int i;

	for (i = 0; i < drive->rule_count; i++) {
		const struct softata_rule *rule = &drive->rules[i];

		if (matches(rule->command, tf->command) && matches(rule->feature, tf->feature) &&
		    matches(rule->lbal, tf->lbal) && matches(rule->lbam, tf->lbam))
			return rule;
	}
	return NULL;
}

static void record(struct softata_drive *drive, const struct ata_taskfile *tf)
{
	struct softata_command *entry;

	if (drive->command_count == SOFTATA_MAX_COMMANDS)
		return;
	entry = &drive->commands[drive->command_count++];
	entry->command = tf->command;
	entry->feature = tf->feature;
	entry->count = tf->nsect;
	entry->lba = (u64)tf->hob_lbah << 40 | (u64)tf->hob_lbam << 32 | (u64)tf->hob_lbal << 24 |
		     (u64)tf->lbah << 16 | (u64)tf->lbam << 8 | tf->lbal;
}

/* transfer: the bytes that the host has room for. Any context; interrupts may be off. */
void softata_drive_execute(struct softata_drive *drive, const struct ata_taskfile *tf,
			   unsigned int transfer, struct softata_answer *answer)
{
	const struct softata_rule *rule;
	unsigned long flags;

	*answer = (struct softata_answer){
		.status = STATUS_GOOD, .lbam = tf->lbam, .lbah = tf->lbah,
	};
	spin_lock_irqsave(&drive->lock, flags);
	record(drive, tf);
	rule = find_rule(drive, tf);
	if (rule) {
		answer->hang = rule->hang;
		answer->status = rule->status;
		answer->error = rule->error;
	} else {
		answer_command(drive, tf, transfer, answer);
	}
	spin_unlock_irqrestore(&drive->lock, flags);
	answer->length = min(answer->length, transfer);
}

struct softata_drive *softata_drive_create(unsigned int number)
{
	struct softata_drive *drive = vzalloc(sizeof(*drive));

	if (!drive)
		return NULL;
	drive->number = number;
	spin_lock_init(&drive->lock);
	drive->smart_logs = vzalloc(SOFTATA_LOGS_SIZE);
	drive->gp_logs = vzalloc(SOFTATA_LOGS_SIZE);
	if (!drive->smart_logs || !drive->gp_logs) {
		softata_drive_destroy(drive);
		return NULL;
	}
	return drive;
}

void softata_drive_destroy(struct softata_drive *drive)
{
	if (!drive)
		return;
	vfree(drive->smart_logs);
	vfree(drive->gp_logs);
	vfree(drive);
}
