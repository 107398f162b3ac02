// SPDX-License-Identifier: GPL-2.0
/* The control device, the requests kept for its readers, and the faults that it set. */
#include <linux/fs.h>
#include <linux/list.h>
#include <linux/miscdevice.h>
#include <linux/module.h>
#include <linux/mutex.h>
#include <linux/poll.h>
#include <linux/slab.h>
#include <linux/uaccess.h>
#include <linux/wait.h>

#include "hub.h"

#define MAX_KEPT 65536
#define MAX_FAULTS 16
#define MAX_PUSH (256 * 1024)

struct kept_request {
	struct list_head list;
	struct hub_request request;
	u8 bytes[];
};

static DEFINE_MUTEX(kept_lock); /* guards the three below */
static LIST_HEAD(kept);
static unsigned int kept_count;
static bool kept_lost;
static DECLARE_WAIT_QUEUE_HEAD(kept_changed);

static DEFINE_SPINLOCK(faults_lock);
static struct hub_fault faults[MAX_FAULTS]; /* guarded by faults_lock; count 0: free */

void hub_keep(const struct hub_request *request, const void *bytes)
{
	size_t size = bytes ? request->size : 0;
	struct kept_request *entry = kzalloc(struct_size(entry, bytes, size), GFP_KERNEL);

	mutex_lock(&kept_lock);
	if (!entry || kept_count >= MAX_KEPT) {
		kept_lost = true;
		kfree(entry);
	} else {
		entry->request = *request;
		entry->request.size = size;
		if (size)
			memcpy(entry->bytes, bytes, size);
		list_add_tail(&entry->list, &kept);
		kept_count++;
	}
	mutex_unlock(&kept_lock);
	wake_up_interruptible(&kept_changed);
}

static void forget_requests(void)
{
	struct kept_request *entry, *next;

	mutex_lock(&kept_lock);
	list_for_each_entry_safe(entry, next, &kept, list)
		kfree(entry);
	INIT_LIST_HEAD(&kept);
	kept_count = 0;
	kept_lost = false;
	mutex_unlock(&kept_lock);
}

int hub_take_fault(enum hub_node node, int handle)
{
	unsigned long flags;
	int error = 0;
	int i;

	spin_lock_irqsave(&faults_lock, flags);
	for (i = 0; i < MAX_FAULTS && !error; i++) {
		struct hub_fault *fault = &faults[i];

		if (!fault->count || fault->node != node)
			continue;
		if (fault->handle >= 0 && fault->handle != handle)
			continue;
		if (fault->nth > 1) {
			fault->nth--;
			continue;
		}
		fault->count--;
		error = -fault->error;
	}
	spin_unlock_irqrestore(&faults_lock, flags);
	return error;
}

static int add_fault(const struct hub_fault *fault)
{
	unsigned long flags;
	int ret = -ENOSPC;
	int i;

	if (fault->node >= HUB_NODES || fault->error <= 0 || fault->error > MAX_ERRNO ||
	    !fault->count)
		return -EINVAL;
	spin_lock_irqsave(&faults_lock, flags);
	for (i = 0; i < MAX_FAULTS; i++) {
		if (faults[i].count)
			continue;
		faults[i] = *fault;
		ret = 0;
		break;
	}
	spin_unlock_irqrestore(&faults_lock, flags);
	return ret;
}

static void forget_faults(void)
{
	unsigned long flags;

	spin_lock_irqsave(&faults_lock, flags);
	memset(faults, 0, sizeof(faults));
	spin_unlock_irqrestore(&faults_lock, flags);
}

static bool something_kept(void)
{
	bool result;

	mutex_lock(&kept_lock);
	result = kept_count > 0 || kept_lost;
	mutex_unlock(&kept_lock);
	return result;
}

static ssize_t control_read(struct file *file, char __user *buffer, size_t size, loff_t *offset)
{
	struct kept_request *entry;
	ssize_t result;

	for (;;) {
		mutex_lock(&kept_lock);
		if (kept_count > 0 || kept_lost)
			break;
		mutex_unlock(&kept_lock);
		if (file->f_flags & O_NONBLOCK)
			return -EAGAIN;
		result = wait_event_interruptible(kept_changed, something_kept());
		if (result)
			return result;
	}
	if (!kept_count) {
		kept_lost = false;
		mutex_unlock(&kept_lock);
		return -EOVERFLOW;
	}
	entry = list_first_entry(&kept, struct kept_request, list);
	result = sizeof(entry->request) + entry->request.size;
	if (size < result) {
		mutex_unlock(&kept_lock);
		return -EINVAL;
	}
	list_del(&entry->list);
	kept_count--;
	mutex_unlock(&kept_lock);
	if (copy_to_user(buffer, &entry->request, sizeof(entry->request)) ||
	    copy_to_user(buffer + sizeof(entry->request), entry->bytes, entry->request.size))
		result = -EFAULT;
	kfree(entry);
	return result;
}

static __poll_t control_poll(struct file *file, poll_table *wait)
{
	poll_wait(file, &kept_changed, wait);
	return something_kept() ? EPOLLIN | EPOLLRDNORM : 0;
}

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
		forget_faults();
		forget_requests();
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
		return add_fault(&fault);
	case HUB_IOC_FILE:
		return control_file(argument);
	default:
		return -ENOTTY;
	}
}

static const struct file_operations control_fops = {
	.owner = THIS_MODULE,
	.read = control_read,
	.poll = control_poll,
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
	forget_requests();
}
