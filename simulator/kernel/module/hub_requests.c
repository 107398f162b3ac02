// SPDX-License-Identifier: GPL-2.0
/* The requests to the hub, kept for readers of the control device. */
#include <linux/fs.h>
#include <linux/kfifo.h>
#include <linux/module.h>
#include <linux/mutex.h>
#include <linux/poll.h>
#include <linux/uaccess.h>
#include <linux/wait.h>

#include "hub.h"

#define KEPT_BYTES (4 * 1024 * 1024)

static DEFINE_MUTEX(requests_lock); /* guards all below */
/* Each record is a request and its bytes. */
static STRUCT_KFIFO_REC_2(KEPT_BYTES) kept;
static bool kept_lost;
static struct {
	struct hub_request head;
	u8 bytes[HUB_MAX_FILE];
} entry; /* being kept */

static DECLARE_WAIT_QUEUE_HEAD(kept_changed);

void hub_keep(const struct hub_request *request, const void *bytes)
{
	mutex_lock(&requests_lock);
	entry.head = *request;
	memcpy(entry.bytes, bytes, request->size);
	if (!kfifo_in(&kept, (u8 *)&entry, sizeof(entry.head) + request->size))
		kept_lost = true;
	mutex_unlock(&requests_lock);
	wake_up_interruptible(&kept_changed);
}

void hub_requests_reset(void)
{
	mutex_lock(&requests_lock);
	INIT_KFIFO(kept);
	kept_lost = false;
	mutex_unlock(&requests_lock);
}

ssize_t hub_requests_read(struct file *file, char __user *buffer, size_t size, loff_t *offset)
{
	unsigned int copied = 0;
	int ret;

	mutex_lock(&requests_lock);
	if (kfifo_is_empty(&kept)) {
		ret = kept_lost ? -EOVERFLOW : -EAGAIN;
		kept_lost = false;
	} else if (size < kfifo_peek_len(&kept)) {
		ret = -EINVAL;
	} else {
		ret = kfifo_to_user(&kept, buffer, size, &copied);
	}
	mutex_unlock(&requests_lock);
	return ret ?: (ssize_t)copied;
}

__poll_t hub_requests_poll(struct file *file, poll_table *wait)
{
	poll_wait(file, &kept_changed, wait);
	return !kfifo_is_empty(&kept) || READ_ONCE(kept_lost) ? EPOLLIN | EPOLLRDNORM : 0;
}
