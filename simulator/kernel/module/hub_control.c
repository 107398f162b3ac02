// SPDX-License-Identifier: GPL-2.0
/* The control device, by which a program plays the hardware. */
#include <linux/fs.h>
#include <linux/miscdevice.h>
#include <linux/module.h>
#include <linux/slab.h>
#include <linux/uaccess.h>

#include "hub.h"

#define MAX_PUSH (256 * 1024)

static long control_add(void __user *argument)
{
	struct hub_device device;
	int ret;

	if (copy_from_user(&device, argument, sizeof(device)))
		return -EFAULT;
	device.name[sizeof(device.name) - 1] = '\0';
	ret = hub_iio_add(&device);
	if (ret)
		return ret;
	return copy_to_user(argument, &device, sizeof(device)) ? -EFAULT : 0;
}

static long control_push(void __user *argument)
{
	struct hub_records records;
	void *bytes;
	int ret;

	if (copy_from_user(&records, argument, sizeof(records)))
		return -EFAULT;
	ret = hub_iio_record_size(records.handle);
	if (ret < 0)
		return ret;
	if (records.count > MAX_PUSH / ret)
		return -EINVAL;
	bytes = vmemdup_user(u64_to_user_ptr(records.data), (size_t)ret * records.count);
	if (IS_ERR(bytes))
		return PTR_ERR(bytes);
	ret = hub_iio_push(records.handle, bytes, records.count);
	kvfree(bytes);
	return ret;
}

static long control_stream(void __user *argument)
{
	struct hub_stream stream;
	void *record = NULL;
	int ret;

	if (copy_from_user(&stream, argument, sizeof(stream)))
		return -EFAULT;
	ret = hub_iio_record_size(stream.handle);
	if (ret < 0)
		return ret;
	if (stream.count) {
		record = memdup_user(u64_to_user_ptr(stream.data), ret);
		if (IS_ERR(record))
			return PTR_ERR(record);
	}
	ret = hub_iio_stream(&stream, record);
	kfree(record);
	return ret;
}

static long control_state(void __user *argument)
{
	struct hub_state state = {};

	if (copy_from_user(&state.handle, argument, sizeof(state.handle)))
		return -EFAULT;
	hub_iio_state(&state);
	return copy_to_user(argument, &state, sizeof(state)) ? -EFAULT : 0;
}

static long control_file(void __user *argument)
{
	struct hub_file file;
	void *bytes;
	int ret;

	if (copy_from_user(&file, argument, sizeof(file)))
		return -EFAULT;
	if (file.size > HUB_MAX_FILE)
		return -EINVAL;
	bytes = memdup_user(u64_to_user_ptr(file.data), file.size);
	if (IS_ERR(bytes))
		return PTR_ERR(bytes);
	ret = hub_nodes_set_file(file.node, bytes, file.size);
	kfree(bytes);
	return ret;
}

static long control_ioctl(struct file *file, unsigned int number, unsigned long value)
{
	void __user *argument = (void __user *)value;
	struct hub_fault fault;
	s32 handle;

	switch (number) {
	case HUB_IOC_RESET:
		hub_iio_remove_all();
		hub_nodes_reset();
		hub_requests_reset();
		return 0;
	case HUB_IOC_ADD:
		return control_add(argument);
	case HUB_IOC_REMOVE:
		if (copy_from_user(&handle, argument, sizeof(handle)))
			return -EFAULT;
		return hub_iio_remove(handle);
	case HUB_IOC_PUSH:
		return control_push(argument);
	case HUB_IOC_STREAM:
		return control_stream(argument);
	case HUB_IOC_STATE:
		return control_state(argument);
	case HUB_IOC_FAULT:
		if (copy_from_user(&fault, argument, sizeof(fault)))
			return -EFAULT;
		return hub_add_fault(&fault);
	case HUB_IOC_FILE:
		return control_file(argument);
	default:
		return -ENOTTY;
	}
}

static const struct file_operations control_fops = {
	.owner = THIS_MODULE,
	.read = hub_requests_read,
	.poll = hub_requests_poll,
	.unlocked_ioctl = control_ioctl,
};

static struct miscdevice control = {
	.minor = MISC_DYNAMIC_MINOR,
	.name = "hub_control",
	.fops = &control_fops,
};

int hub_control_init(void)
{
	return misc_register(&control);
}

void hub_control_exit(void)
{
	misc_deregister(&control);
	hub_requests_reset();
}
