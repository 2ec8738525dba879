/* SPDX-License-Identifier: GPL-2.0 */
/*
 * softata - ATA drives made of memory, for tests.
 *
 * Each port of the host carries one drive whose identify data, SMART sectors and logs are blobs
 * that the test writes through debugfs before it starts the host. Everything above the port
 * (libata, sd, SG_IO, the HDIO ioctls) is the stock kernel.
 */
#ifndef SOFTATA_H
#define SOFTATA_H

#include <linux/ata.h>
#include <linux/spinlock.h>
#include <linux/types.h>

struct ata_taskfile;
struct dentry;

#define SOFTATA_MAX_PORTS 24
#define SOFTATA_MAX_RULES 16
#define SOFTATA_MAX_COMMANDS 2048
#define SOFTATA_LOG_PAGES 8 /* kept per log address */
#define SOFTATA_LOGS_SIZE (256 * SOFTATA_LOG_PAGES * ATA_SECT_SIZE)

/* "Any value of this register" in a rule. */
#define SOFTATA_ANY (-1)

/* Commands that match are answered with status and error instead of data, or not at all. */
struct softata_rule {
	int command, feature, lbal, lbam;
	bool hang;
	u8 status, error;
};

struct softata_command {
	u8 command, feature, count;
	u64 lba;
};

struct softata_drive {
	unsigned int number;

	/*
	 * The blobs. Written by debugfs without the lock: a test changes single bytes of a drive
	 * that runs, and whole blobs only before the host is started.
	 */
	u8 identify[ATA_SECT_SIZE];
	u8 smart[ATA_SECT_SIZE];
	u8 *smart_logs; /* by SMART READ LOG: [address][page][512], directory at address 0 */
	u8 *gp_logs;    /* by READ LOG EXT, laid out the same */

	spinlock_t lock; /* guards what follows */
	struct softata_rule rules[SOFTATA_MAX_RULES];
	unsigned int rule_count;
	struct softata_command commands[SOFTATA_MAX_COMMANDS];
	unsigned int command_count;
};

/* What a drive says to one command. */
struct softata_answer {
	bool hang;
	u8 status, error;
	u8 lbam, lbah;      /* result registers */
	const u8 *data;     /* NULL: zeros */
	unsigned int length; /* bytes that go to the host */
};

/* drive.c: the drive itself; knows commands, not libata's queues. */
struct softata_drive *softata_drive_create(unsigned int number);
void softata_drive_destroy(struct softata_drive *drive);
void softata_drive_execute(struct softata_drive *drive, const struct ata_taskfile *tf,
			   unsigned int transfer, struct softata_answer *answer);

/* files.c: the test's handles, below <debugfs>/softata/. */
struct dentry *softata_files_create(struct softata_drive **drives, unsigned int count,
				    int (*start)(void));

#endif
