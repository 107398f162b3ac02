// SPDX-License-Identifier: GPL-2.0
/*
 * The hub's class files, /sys/class/sensors/..., and its character devices. They refuse what the
 * driver would refuse, and keep each request, refused or not.
 */
#include <linux/device.h>
#include <linux/fs.h>
#include <linux/miscdevice.h>
#include <linux/module.h>
#include <linux/mutex.h>
#include <linux/slab.h>
#include <linux/uaccess.h>

#include "hub.h"

#define BATCH_REQUEST 0x8008fc00u

/* The ioctl number encodes eight bytes; the record has 24. */
struct batch_record {
	s64 timeout;
	s64 delay;
	s32 flag;
	s32 padding;
};

struct file_content {
	size_t size;
	char bytes[HUB_MAX_FILE];
};

static DEFINE_MUTEX(contents_lock);
static struct file_content contents[HUB_NODES]; /* guarded by contents_lock */

/* The call's result. */
static ssize_t refuse_or_keep(struct hub_request *request, const void *bytes, int error)
{
	request->error = -error;
	hub_keep(request, bytes);
	return error ?: (ssize_t)request->size;
}

/* Value of a plain decimal without sign, spaces or leading zeros; -1 for anything else. */
static int plain_decimal(const char *text, size_t size)
{
	int value = 0;
	size_t i;

	if (!size || size > 3 || (size > 1 && text[0] == '0'))
		return -1;
	for (i = 0; i < size; i++) {
		if (text[i] < '0' || text[i] > '9')
			return -1;
		value = value * 10 + (text[i] - '0');
	}
	return value;
}

/* Fills in what can be read; false if the driver refuses the form or has no such sensor. */
static bool parse_write(struct hub_request *request, const char *bytes)
{
	size_t size = request->size;
	bool terminated = size > 0 && bytes[size - 1] == '\0';
	char digit = size > 1 && terminated ? bytes[size - 2] : '\0';
	bool is_switch = digit == '0' || digit == '1';

	request->flag = digit == '1';
	switch (request->node) {
	case HUB_NODE_ENABLE: /* the handle, the digit and a NUL, without separators */
		if (size > 2 && terminated)
			request->handle = plain_decimal(bytes, size - 2);
		return is_switch && hub_iio_known(request->handle);
	case HUB_NODE_FLUSH:
		if (terminated)
			request->handle = plain_decimal(bytes, size - 1);
		return hub_iio_known(request->handle);
	case HUB_NODE_REAR_ENABLE:
		return is_switch && size == 2;
	case HUB_NODE_SHUB_INJECTION:
	case HUB_NODE_HBX_INJECTION:
		if (size >= 2 && bytes[0] == 1)
			request->handle = (u8)bytes[1];
		return hub_iio_known(request->handle);
	default:
		return true;
	}
}

static ssize_t take_write(enum hub_node node, const char *bytes, size_t size, loff_t offset)
{
	struct hub_request request = {
		.node = node,
		.handle = -1,
		.size = size,
		.number = offset,
	};
	bool is_known = parse_write(&request, bytes);

	return refuse_or_keep(&request, bytes, is_known ? 0 : -EINVAL);
}

static ssize_t file_write(struct file *file, struct kobject *kobj, struct bin_attribute *attr,
			  char *buffer, loff_t offset, size_t size)
{
	return take_write((uintptr_t)attr->private, buffer, size, offset);
}

static ssize_t file_read(struct file *file, struct kobject *kobj, struct bin_attribute *attr,
			 char *buffer, loff_t offset, size_t size)
{
	enum hub_node node = (uintptr_t)attr->private;
	ssize_t result;

	mutex_lock(&contents_lock);
	result = memory_read_from_buffer(buffer, size, &offset, contents[node].bytes,
					 contents[node].size);
	mutex_unlock(&contents_lock);
	return result;
}

/* Binary ones, since a text attribute's functions see neither the file position nor their node. */
#define HUB_FILE(_name, _mode, _node)                                                              \
	static struct bin_attribute _name = {                                                      \
		.attr = { .name = #_name, .mode = _mode },                                         \
		.read = file_read,                                                                 \
		.write = file_write,                                                               \
		.private = (void *)(uintptr_t)(_node),                                             \
	}

HUB_FILE(enable, 0644, HUB_NODE_ENABLE);
HUB_FILE(hbx_flush, 0200, HUB_NODE_FLUSH);
HUB_FILE(sensor_spec, 0444, HUB_NODE_SPEC);
HUB_FILE(qcontext_list, 0444, HUB_NODE_CONTEXT_LIST);
HUB_FILE(shub_dump, 0444, HUB_NODE_DUMP);
HUB_FILE(shub_file, 0644, HUB_NODE_FILE_MANAGER);
static struct bin_attribute *hub_attrs[] = { &enable,	 &hbx_flush, &sensor_spec, &qcontext_list,
					     &shub_dump, &shub_file, NULL };
BIN_ATTRIBUTE_GROUPS(hub);

HUB_FILE(nfc_cover_status, 0644, HUB_NODE_NFC_COVER);
static struct bin_attribute *cover_attrs[] = { &nfc_cover_status, NULL };
BIN_ATTRIBUTE_GROUPS(cover);

HUB_FILE(als_enable, 0200, HUB_NODE_REAR_ENABLE);
HUB_FILE(als_data, 0444, HUB_NODE_REAR_DATA);
static struct bin_attribute *rear_attrs[] = { &als_enable, &als_data, NULL };
BIN_ATTRIBUTE_GROUPS(rear);

static struct class *hub_class;
static struct class_device {
	const char *name;
	const struct attribute_group **groups;
	struct device *device; /* NULL if there is none */
} hub_device = { "hbx_sensor", hub_groups },
  cover_device = { "flip_cover_detector_sensor", cover_groups },
  rear_device = { "als_rear", rear_groups };

static int make_device(struct class_device *made)
{
	struct device *device;

	if (made->device)
		return 0;
	device = device_create_with_groups(hub_class, NULL, 0, NULL, made->groups, made->name);
	if (IS_ERR(device))
		return PTR_ERR(device);
	made->device = device;
	return 0;
}

static void drop_device(struct class_device *dropped)
{
	if (dropped->device)
		device_unregister(dropped->device);
	dropped->device = NULL;
}

static long batch_ioctl(struct file *file, unsigned int number, unsigned long argument)
{
	struct hub_request request = { .node = HUB_NODE_BATCH, .handle = -1, .number = number };
	struct batch_record batch;
	ssize_t result;

	if ((number & ~0xffu) != BATCH_REQUEST)
		return refuse_or_keep(&request, NULL, -ENOTTY);
	request.handle = number & 0xff;
	if (copy_from_user(&batch, (const void __user *)argument, sizeof(batch)))
		return refuse_or_keep(&request, NULL, -EFAULT);
	request.size = sizeof(batch);
	if (batch.flag || batch.padding || batch.delay < 0 || batch.timeout < 0 ||
	    !hub_iio_known(request.handle))
		return refuse_or_keep(&request, &batch, -EINVAL);
	result = refuse_or_keep(&request, &batch, 0);
	return min_t(ssize_t, result, 0);
}

static struct miscdevice devices[4];

static ssize_t device_write(struct file *file, const char __user *bytes, size_t size,
			    loff_t *offset)
{
	struct miscdevice *device = file->private_data;
	ssize_t result;
	char *copy;

	if (size > HUB_MAX_FILE)
		return -EINVAL;
	copy = memdup_user(bytes, size);
	if (IS_ERR(copy))
		return PTR_ERR(copy);
	result = take_write(HUB_NODE_BATCH + (device - devices), copy, size, 0);
	kfree(copy);
	return result;
}

static const struct file_operations batch_fops = {
	.owner = THIS_MODULE,
	.unlocked_ioctl = batch_ioctl,
};
static const struct file_operations write_fops = {
	.owner = THIS_MODULE,
	.write = device_write,
};

#define HUB_MISC(_name, _fops)                                                                     \
	{                                                                                          \
		.minor = MISC_DYNAMIC_MINOR, .name = _name, .fops = _fops                          \
	}

/* In the order of enum hub_node, from HUB_NODE_BATCH on. */
static struct miscdevice devices[] = {
	HUB_MISC("batch_io", &batch_fops),
	HUB_MISC("shub_data_injection", &write_fops),
	HUB_MISC("hbx_data_injection", &write_fops),
	HUB_MISC("hbx_sensorhub", &write_fops),
};

int hub_nodes_set_file(const struct hub_file *file)
{
	struct file_content *content;
	unsigned long missing;

	if (file->node < HUB_FIRST_CONTENT || file->node >= HUB_NODES || file->size > HUB_MAX_FILE)
		return -EINVAL;
	content = &contents[file->node];
	mutex_lock(&contents_lock);
	missing = copy_from_user(content->bytes, u64_to_user_ptr(file->data), file->size);
	content->size = missing ? 0 : file->size;
	mutex_unlock(&contents_lock);
	if (missing)
		return -EFAULT;
	return file->node == HUB_NODE_REAR_DATA ? make_device(&rear_device) : 0;
}

void hub_nodes_reset(void)
{
	int node;

	drop_device(&rear_device);
	mutex_lock(&contents_lock);
	for (node = 0; node < HUB_NODES; node++)
		contents[node].size = 0;
	mutex_unlock(&contents_lock);
}

int hub_nodes_init(void)
{
	size_t i;
	int ret;

	hub_class = class_create(THIS_MODULE, "sensors");
	if (IS_ERR(hub_class))
		return PTR_ERR(hub_class);
	ret = make_device(&hub_device) ?: make_device(&cover_device);
	for (i = 0; i < ARRAY_SIZE(devices) && !ret; i++)
		ret = misc_register(&devices[i]);
	if (ret)
		hub_nodes_exit();
	return ret;
}

/* Undoes a start that failed half-way, too. */
void hub_nodes_exit(void)
{
	size_t i;

	for (i = 0; i < ARRAY_SIZE(devices); i++) {
		if (!IS_ERR_OR_NULL(devices[i].this_device))
			misc_deregister(&devices[i]);
	}
	drop_device(&rear_device);
	drop_device(&cover_device);
	drop_device(&hub_device);
	class_destroy(hub_class);
}
