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

static struct class *hub_class;
static struct device *hub_device;
static struct device *cover_device;
static struct device *rear_device; /* guarded by rear_lock */
static DEFINE_MUTEX(rear_lock);

static ssize_t refuse_or_keep(struct hub_request *request, const void *bytes, int error)
{
	request->error = -error;
	hub_keep(request, bytes);
	if (error)
		return error;
	return request->size;
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

static bool ends_in_nul(const char *text, size_t size)
{
	return size > 0 && text[size - 1] == '\0';
}

/* The handle, the digit and a NUL, without separators. */
static ssize_t enable_store(struct device *dev, struct device_attribute *attr, const char *text,
			    size_t size)
{
	struct hub_request request = { .node = HUB_NODE_ENABLE, .handle = -1, .size = size };
	char digit = size > 2 ? text[size - 2] : '\0';
	int error = -EINVAL;

	if (ends_in_nul(text, size) && size > 2)
		request.handle = plain_decimal(text, size - 2);
	request.flag = digit == '1';
	if ((digit == '0' || digit == '1') && hub_iio_known(request.handle))
		error = hub_take_fault(HUB_NODE_ENABLE, request.handle);
	if (!error)
		hub_iio_set_enabled(request.handle, request.flag);
	return refuse_or_keep(&request, text, error);
}

/* Present because the library opens the file for reading and writing. */
static ssize_t enable_show(struct device *dev, struct device_attribute *attr, char *text)
{
	return 0;
}
static DEVICE_ATTR_RW(enable);

static ssize_t hbx_flush_store(struct device *dev, struct device_attribute *attr, const char *text,
			       size_t size)
{
	struct hub_request request = { .node = HUB_NODE_FLUSH, .handle = -1, .size = size };
	int error;

	if (ends_in_nul(text, size))
		request.handle = plain_decimal(text, size - 1);
	error = hub_iio_known(request.handle) ? hub_take_fault(HUB_NODE_FLUSH, request.handle)
					      : -EINVAL;
	return refuse_or_keep(&request, text, error);
}
static DEVICE_ATTR_WO(hbx_flush);

static ssize_t read_content(enum hub_node node, char *buffer, loff_t offset, size_t size)
{
	ssize_t result = hub_take_fault(node, -1);

	if (result)
		return result;
	mutex_lock(&contents_lock);
	result = memory_read_from_buffer(buffer, size, &offset, contents[node].bytes,
					 contents[node].size);
	mutex_unlock(&contents_lock);
	return result;
}

static ssize_t hub_bin_read(struct file *file, struct kobject *kobj, struct bin_attribute *attr,
			    char *buffer, loff_t offset, size_t size)
{
	return read_content((uintptr_t)attr->private, buffer, offset, size);
}

/* Each write is one message at any file position, which a read of the request has moved. */
static ssize_t shub_file_write(struct file *file, struct kobject *kobj, struct bin_attribute *attr,
			       char *buffer, loff_t offset, size_t size)
{
	struct hub_request request = {
		.node = HUB_NODE_FILE_MANAGER,
		.handle = -1,
		.size = size,
		.number = offset,
	};

	return refuse_or_keep(&request, buffer, 0);
}

#define HUB_BIN_RO(_name, _node)                                                                   \
	static struct bin_attribute bin_attr_##_name = {                                           \
		.attr = { .name = #_name, .mode = 0444 },                                          \
		.read = hub_bin_read,                                                              \
		.private = (void *)(uintptr_t)(_node),                                             \
	}

HUB_BIN_RO(sensor_spec, HUB_NODE_SPEC);
HUB_BIN_RO(qcontext_list, HUB_NODE_CONTEXT_LIST);
HUB_BIN_RO(shub_dump, HUB_NODE_DUMP);

static struct bin_attribute bin_attr_shub_file = {
	.attr = { .name = "shub_file", .mode = 0644 },
	.read = hub_bin_read,
	.write = shub_file_write,
	.private = (void *)(uintptr_t)HUB_NODE_FILE_MANAGER,
};

static struct attribute *hub_attrs[] = { &dev_attr_enable.attr, &dev_attr_hbx_flush.attr, NULL };
static struct bin_attribute *hub_bin_attrs[] = { &bin_attr_sensor_spec, &bin_attr_qcontext_list,
						 &bin_attr_shub_dump, &bin_attr_shub_file, NULL };
static const struct attribute_group hub_group = {
	.attrs = hub_attrs,
	.bin_attrs = hub_bin_attrs,
};
static const struct attribute_group *hub_groups[] = { &hub_group, NULL };

/* The flip cover's detector is listed if this can be opened. */
static ssize_t nfc_cover_status_show(struct device *dev, struct device_attribute *attr, char *text)
{
	return sysfs_emit(text, "0\n");
}

static ssize_t nfc_cover_status_store(struct device *dev, struct device_attribute *attr,
				      const char *text, size_t size)
{
	return size;
}
static DEVICE_ATTR_RW(nfc_cover_status);
static struct attribute *cover_attrs[] = { &dev_attr_nfc_cover_status.attr, NULL };
ATTRIBUTE_GROUPS(cover);

static ssize_t als_enable_store(struct device *dev, struct device_attribute *attr, const char *text,
				size_t size)
{
	struct hub_request request = { .node = HUB_NODE_REAR_ENABLE, .handle = -1, .size = size };
	bool sound = size == 2 && (text[0] == '0' || text[0] == '1') && text[1] == '\0';

	request.flag = sound && text[0] == '1';
	return refuse_or_keep(&request, text,
			      sound ? hub_take_fault(HUB_NODE_REAR_ENABLE, -1) : -EINVAL);
}
static DEVICE_ATTR_WO(als_enable);

static ssize_t als_data_show(struct device *dev, struct device_attribute *attr, char *text)
{
	return read_content(HUB_NODE_REAR_DATA, text, 0, PAGE_SIZE);
}
static DEVICE_ATTR_RO(als_data);
static struct attribute *rear_attrs[] = { &dev_attr_als_enable.attr, &dev_attr_als_data.attr,
					  NULL };
ATTRIBUTE_GROUPS(rear);

static long batch_ioctl(struct file *file, unsigned int number, unsigned long argument)
{
	struct hub_request request = { .node = HUB_NODE_BATCH, .handle = -1, .number = number };
	struct batch_record batch;

	if ((number & ~0xffu) != BATCH_REQUEST)
		return refuse_or_keep(&request, NULL, -ENOTTY);
	request.handle = number & 0xff;
	if (copy_from_user(&batch, (const void __user *)argument, sizeof(batch)))
		return refuse_or_keep(&request, NULL, -EFAULT);
	request.size = sizeof(batch);
	if (batch.flag || batch.padding || batch.delay < 0 || batch.timeout < 0 ||
	    !hub_iio_known(request.handle))
		return refuse_or_keep(&request, &batch, -EINVAL);
	request.error = -hub_take_fault(HUB_NODE_BATCH, request.handle);
	if (!request.error)
		hub_iio_set_rate(request.handle, batch.delay, batch.timeout);
	hub_keep(&request, &batch);
	return -(long)request.error;
}

static struct miscdevice devices[4];

static ssize_t device_write(struct file *file, const char __user *bytes, size_t size,
			    loff_t *offset)
{
	struct miscdevice *device = file->private_data;
	enum hub_node node = HUB_NODE_BATCH + (device - devices);
	struct hub_request request = { .node = node, .handle = -1, .size = size };
	int error = 0;
	ssize_t result;
	u8 *copy;

	if (size > HUB_MAX_FILE)
		return -EINVAL;
	copy = memdup_user(bytes, size);
	if (IS_ERR(copy))
		return PTR_ERR(copy);
	if (node != HUB_NODE_MESSAGE) {
		if (size >= 2 && copy[0] == 1 && hub_iio_known(copy[1]))
			request.handle = copy[1];
		else
			error = -EINVAL;
	}
	if (!error)
		error = hub_take_fault(node, request.handle);
	result = refuse_or_keep(&request, copy, error);
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

static int make_rear_device(void)
{
	int ret;

	mutex_lock(&rear_lock);
	if (!rear_device)
		rear_device = device_create_with_groups(hub_class, NULL, 0, NULL, rear_groups,
							"als_rear");
	ret = PTR_ERR_OR_ZERO(rear_device);
	if (ret)
		rear_device = NULL;
	mutex_unlock(&rear_lock);
	return ret;
}

static void drop_rear_device(void)
{
	mutex_lock(&rear_lock);
	if (rear_device)
		device_unregister(rear_device);
	rear_device = NULL;
	mutex_unlock(&rear_lock);
}

int hub_nodes_set_file(const struct hub_file *file)
{
	const unsigned long with_content = BIT(HUB_NODE_FILE_MANAGER) | BIT(HUB_NODE_SPEC) |
					   BIT(HUB_NODE_CONTEXT_LIST) | BIT(HUB_NODE_DUMP) |
					   BIT(HUB_NODE_REAR_DATA);
	struct file_content *content;
	unsigned long missing;

	if (file->node >= HUB_NODES || !(with_content & BIT(file->node)) ||
	    file->size > HUB_MAX_FILE)
		return -EINVAL;
	content = &contents[file->node];
	mutex_lock(&contents_lock);
	missing = copy_from_user(content->bytes, u64_to_user_ptr(file->data), file->size);
	content->size = missing ? 0 : file->size;
	mutex_unlock(&contents_lock);
	if (missing)
		return -EFAULT;
	return file->node == HUB_NODE_REAR_DATA ? make_rear_device() : 0;
}

void hub_nodes_reset(void)
{
	int node;

	drop_rear_device();
	mutex_lock(&contents_lock);
	for (node = 0; node < HUB_NODES; node++)
		contents[node].size = 0;
	mutex_unlock(&contents_lock);
}

int hub_nodes_init(void)
{
	size_t made;
	int ret;

	hub_class = class_create(THIS_MODULE, "sensors");
	if (IS_ERR(hub_class))
		return PTR_ERR(hub_class);
	hub_device = device_create_with_groups(hub_class, NULL, 0, NULL, hub_groups, "hbx_sensor");
	if (IS_ERR(hub_device)) {
		ret = PTR_ERR(hub_device);
		goto err_class;
	}
	cover_device = device_create_with_groups(hub_class, NULL, 0, NULL, cover_groups,
						 "flip_cover_detector_sensor");
	if (IS_ERR(cover_device)) {
		ret = PTR_ERR(cover_device);
		goto err_hub;
	}
	for (made = 0; made < ARRAY_SIZE(devices); made++) {
		ret = misc_register(&devices[made]);
		if (ret)
			goto err_devices;
	}
	return 0;

err_devices:
	while (made--)
		misc_deregister(&devices[made]);
	device_unregister(cover_device);
err_hub:
	device_unregister(hub_device);
err_class:
	class_destroy(hub_class);
	return ret;
}

void hub_nodes_exit(void)
{
	size_t i;

	for (i = 0; i < ARRAY_SIZE(devices); i++)
		misc_deregister(&devices[i]);
	drop_rear_device();
	device_unregister(cover_device);
	device_unregister(hub_device);
	class_destroy(hub_class);
}
