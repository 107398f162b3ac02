// SPDX-License-Identifier: GPL-2.0
/*
 * A sensor hub without hardware: IIO devices whose records a program supplies, and the files and
 * character devices by which the hub takes requests. Here: the module, and its control device, by
 * which a program simulates the hardware.
 */
#include <linux/fs.h>
#include <linux/miscdevice.h>
#include <linux/module.h>
#include <linux/mutex.h>
#include <linux/uaccess.h>

#include "hub.h"

static DEFINE_MUTEX(control_lock); /* one call at a time */

union control_argument {
	s32 handle;
	struct hub_device device;
	struct hub_records records;
	struct hub_stream stream;
	struct hub_state state;
	struct hub_file file;
};

static int control_call(unsigned int number, union control_argument *argument)
{
	switch (number) {
	case HUB_IOC_RESET:
		hub_iio_remove_all();
		hub_nodes_reset();
		hub_requests_reset();
		return 0;
	case HUB_IOC_ADD:
		return hub_iio_add(&argument->device);
	case HUB_IOC_REMOVE:
		return hub_iio_remove(argument->handle);
	case HUB_IOC_PUSH:
		return hub_iio_push(&argument->records);
	case HUB_IOC_STREAM:
		return hub_iio_stream(&argument->stream);
	case HUB_IOC_STATE:
		hub_iio_state(&argument->state);
		return 0;
	case HUB_IOC_FILE:
		return hub_nodes_set_file(&argument->file);
	default:
		return -ENOTTY;
	}
}

static long control_ioctl(struct file *file, unsigned int number, unsigned long value)
{
	void __user *user = (void __user *)value;
	size_t size = _IOC_SIZE(number);
	union control_argument argument;
	int ret;

	if (size > sizeof(argument))
		return -ENOTTY;
	if (copy_from_user(&argument, user, size))
		return -EFAULT;
	mutex_lock(&control_lock);
	ret = control_call(number, &argument);
	mutex_unlock(&control_lock);
	if (ret >= 0 && (_IOC_DIR(number) & _IOC_READ) && copy_to_user(user, &argument, size))
		return -EFAULT;
	return ret;
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

static int __init hub_init(void)
{
	int ret;

	hub_requests_reset();
	ret = hub_iio_init();
	if (ret)
		return ret;
	ret = hub_nodes_init();
	if (ret)
		goto err_iio;
	ret = misc_register(&control);
	if (ret)
		goto err_nodes;
	return 0;

err_nodes:
	hub_nodes_exit();
err_iio:
	hub_iio_exit();
	return ret;
}

static void __exit hub_exit(void)
{
	misc_deregister(&control);
	hub_nodes_exit();
	hub_iio_exit();
}

module_init(hub_init);
module_exit(hub_exit);
MODULE_DESCRIPTION("Simulated sensor hub");
MODULE_LICENSE("GPL");
