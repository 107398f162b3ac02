// SPDX-License-Identifier: GPL-2.0
/* The requests to the hub, kept for readers of the control device, and the calls that fail. */
#include <linux/fs.h>
#include <linux/list.h>
#include <linux/module.h>
#include <linux/mutex.h>
#include <linux/poll.h>
#include <linux/slab.h>
#include <linux/uaccess.h>
#include <linux/wait.h>

#include "hub.h"

#define MAX_KEPT 65536
#define MAX_FAULTS 16

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

static DEFINE_MUTEX(faults_lock);
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

int hub_take_fault(enum hub_node node, int handle)
{
	int error = 0;
	int i;

	mutex_lock(&faults_lock);
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
	mutex_unlock(&faults_lock);
	return error;
}

int hub_add_fault(const struct hub_fault *fault)
{
	int i;

	if (fault->node >= HUB_NODES || fault->error <= 0 || fault->error > MAX_ERRNO ||
	    !fault->count)
		return -EINVAL;
	mutex_lock(&faults_lock);
	for (i = 0; i < MAX_FAULTS && faults[i].count; i++)
		;
	if (i < MAX_FAULTS)
		faults[i] = *fault;
	mutex_unlock(&faults_lock);
	return i < MAX_FAULTS ? 0 : -ENOSPC;
}

void hub_requests_reset(void)
{
	struct kept_request *entry, *next;

	mutex_lock(&faults_lock);
	memset(faults, 0, sizeof(faults));
	mutex_unlock(&faults_lock);

	mutex_lock(&kept_lock);
	list_for_each_entry_safe(entry, next, &kept, list)
		kfree(entry);
	INIT_LIST_HEAD(&kept);
	kept_count = 0;
	kept_lost = false;
	mutex_unlock(&kept_lock);
}

ssize_t hub_requests_read(struct file *file, char __user *buffer, size_t size, loff_t *offset)
{
	struct kept_request *entry;
	ssize_t result;

	mutex_lock(&kept_lock);
	entry = list_first_entry_or_null(&kept, struct kept_request, list);
	if (!entry) {
		result = kept_lost ? -EOVERFLOW : -EAGAIN;
		kept_lost = false;
	} else if (size < sizeof(entry->request) + entry->request.size) {
		result = -EINVAL;
	} else {
		result = sizeof(entry->request) + entry->request.size;
		list_del(&entry->list);
		kept_count--;
	}
	mutex_unlock(&kept_lock);
	if (result < 0)
		return result;
	if (copy_to_user(buffer, &entry->request, sizeof(entry->request)) ||
	    copy_to_user(buffer + sizeof(entry->request), entry->bytes, entry->request.size))
		result = -EFAULT;
	kfree(entry);
	return result;
}

__poll_t hub_requests_poll(struct file *file, poll_table *wait)
{
	poll_wait(file, &kept_changed, wait);
	return READ_ONCE(kept_count) || READ_ONCE(kept_lost) ? EPOLLIN | EPOLLRDNORM : 0;
}
