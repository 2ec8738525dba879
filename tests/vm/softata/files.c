// SPDX-License-Identifier: GPL-2.0
/*
 * The test's side of the host, below <debugfs>/softata/:
 *   start              write anything: the ports are probed
 *   portN/identify     512 bytes as on the wire; libata keeps the copy that it reads at start
 *   portN/smart        the sector of SMART READ DATA
 *   portN/smart-logs   pages by SMART READ LOG, at (address * 8 + page) * 512
 *   portN/gp-logs      pages by READ LOG EXT, laid out the same
 *   portN/rules        lines "command feature lbal lbam status error" or "... hang", two
 *                      hexadecimal digits each or * for any; a write replaces all rules
 *   portN/commands     lines "command feature count lba" of what reached the drive; a write
 *                      forgets them
 */
#include <linux/debugfs.h>
#include <linux/module.h>
#include <linux/seq_file.h>
#include <linux/slab.h>
#include <linux/string.h>
#include <linux/uaccess.h>

#include "softata.h"

static ssize_t start_write(struct file *file, const char __user *from, size_t size, loff_t *at)
{
	int (*start)(void) = file->private_data;
	int rc = start();

	return rc ? rc : size;
}

static const struct file_operations start_fops = {
	.owner = THIS_MODULE,
	.open = simple_open,
	.write = start_write,
};

/* A blob's length is its file's size; one pair of operations serves all four. */
static ssize_t blob_read(struct file *file, char __user *to, size_t size, loff_t *at)
{
	return simple_read_from_buffer(to, size, at, file->private_data,
				       i_size_read(file_inode(file)));
}

static ssize_t blob_write(struct file *file, const char __user *from, size_t size, loff_t *at)
{
	return simple_write_to_buffer(file->private_data, i_size_read(file_inode(file)), at, from,
				      size);
}

static const struct file_operations blob_fops = {
	.owner = THIS_MODULE,
	.open = simple_open,
	.read = blob_read,
	.write = blob_write,
	.llseek = default_llseek,
};

static void create_blob(const char *name, struct dentry *folder, u8 *data, size_t size)
{
	debugfs_create_file_size(name, 0600, folder, data, &blob_fops, size);
}

static int parse_register(const char *word, int *value)
{
	u8 byte;

	if (!word)
		return -EINVAL;
	if (!strcmp(word, "*")) {
		*value = SOFTATA_ANY;
		return 0;
	}
	if (kstrtou8(word, 16, &byte))
		return -EINVAL;
	*value = byte;
	return 0;
}

static int parse_rule(char *line, struct softata_rule *rule)
{
	int *const registers[] = { &rule->command, &rule->feature, &rule->lbal, &rule->lbam };
	char *word;
	unsigned int i;

	for (i = 0; i < ARRAY_SIZE(registers); i++) {
		if (parse_register(strsep(&line, " "), registers[i]))
			return -EINVAL;
	}
	word = strsep(&line, " ");
	if (!word)
		return -EINVAL;
	rule->hang = !strcmp(word, "hang");
	if (rule->hang)
		return 0;
	if (kstrtou8(word, 16, &rule->status))
		return -EINVAL;
	word = strsep(&line, " ");
	return word && !kstrtou8(word, 16, &rule->error) ? 0 : -EINVAL;
}

static ssize_t rules_write(struct file *file, const char __user *from, size_t size, loff_t *at)
{
	struct softata_drive *drive = file->private_data;
	struct softata_rule rules[SOFTATA_MAX_RULES] = {};
	unsigned int count = 0;
	unsigned long flags;
	char *text, *rest, *line;
	int rc = 0;

	if (size > PAGE_SIZE)
		return -E2BIG;
	text = memdup_user_nul(from, size);
	if (IS_ERR(text))
		return PTR_ERR(text);
	rest = text;
	while (!rc && (line = strsep(&rest, "\n"))) {
		if (!*line)
			continue;
		if (count == SOFTATA_MAX_RULES)
			rc = -E2BIG;
		else
			rc = parse_rule(line, &rules[count++]);
	}
	kfree(text);
	if (rc)
		return rc;
	spin_lock_irqsave(&drive->lock, flags);
	memcpy(drive->rules, rules, sizeof(rules));
	drive->rule_count = count;
	spin_unlock_irqrestore(&drive->lock, flags);
	return size;
}

static const struct file_operations rules_fops = {
	.owner = THIS_MODULE,
	.open = simple_open,
	.write = rules_write,
};

/* Entries below the count never change, so they are printed without the lock. */
static int commands_show(struct seq_file *to, void *unused)
{
	struct softata_drive *drive = to->private;
	unsigned int i, count = READ_ONCE(drive->command_count);

	for (i = 0; i < count; i++) {
		const struct softata_command *entry = &drive->commands[i];

		seq_printf(to, "%02x %02x %02x %012llx\n", entry->command, entry->feature,
			   entry->count, entry->lba);
	}
	return 0;
}

static int commands_open(struct inode *inode, struct file *file)
{
	return single_open(file, commands_show, inode->i_private);
}

static ssize_t commands_write(struct file *file, const char __user *from, size_t size, loff_t *at)
{
	struct softata_drive *drive = file_inode(file)->i_private;
	unsigned long flags;

	spin_lock_irqsave(&drive->lock, flags);
	drive->command_count = 0;
	spin_unlock_irqrestore(&drive->lock, flags);
	return size;
}

static const struct file_operations commands_fops = {
	.owner = THIS_MODULE,
	.open = commands_open,
	.read = seq_read,
	.write = commands_write,
	.llseek = seq_lseek,
	.release = single_release,
};

struct dentry *softata_files_create(struct softata_drive **drives, unsigned int count,
				    int (*start)(void))
{
	struct dentry *root = debugfs_create_dir("softata", NULL);
	unsigned int i;

	for (i = 0; i < count; i++) {
		struct softata_drive *drive = drives[i];
		struct dentry *folder;
		char name[16];

		snprintf(name, sizeof(name), "port%u", i);
		folder = debugfs_create_dir(name, root);
		create_blob("identify", folder, drive->identify, sizeof(drive->identify));
		create_blob("smart", folder, drive->smart, sizeof(drive->smart));
		create_blob("smart-logs", folder, drive->smart_logs, SOFTATA_LOGS_SIZE);
		create_blob("gp-logs", folder, drive->gp_logs, SOFTATA_LOGS_SIZE);
		debugfs_create_file("rules", 0200, folder, drive, &rules_fops);
		debugfs_create_file("commands", 0600, folder, drive, &commands_fops);
	}
	debugfs_create_file("start", 0200, root, start, &start_fops);
	return root;
}
