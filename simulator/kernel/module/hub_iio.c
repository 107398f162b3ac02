// SPDX-License-Identifier: GPL-2.0
/*
 * One IIO device per sensor. A record's bytes are split into equal channels, all of them on, so
 * that one datum of the kfifo is one record and user space writes only length and enable.
 */
#include <linux/bitmap.h>
#include <linux/hrtimer.h>
#include <linux/iio/buffer.h>
#include <linux/iio/buffer_impl.h>
#include <linux/iio/iio.h>
#include <linux/iio/kfifo_buf.h>
#include <linux/minmax.h>
#include <linux/module.h>
#include <linux/slab.h>
#include <linux/spinlock.h>
#include <linux/uaccess.h>
#include <asm/unaligned.h>

#include "hub.h"

/* A late tick sends what it missed, up to this many. */
#define MAX_CATCH_UP 1000
#define MAX_PUSH (256 * 1024)
/* Ticks at a smaller period would use all of the processor's time. */
#define MIN_PERIOD_NS 1000

struct hub_iio {
	struct iio_dev *indio_dev;
	struct iio_buffer *buffer;
	struct iio_chan_spec *channels;
	/* All channels, and the empty mask that ends the list. */
	unsigned long masks[2 * BITS_TO_LONGS(HUB_MAX_RECORD)];
	unsigned int masklength;
	unsigned int record_size;
	int handle;
	char name[HUB_NAME_SIZE];

	spinlock_t lock; /* guards all that follows, and each push */
	bool buffer_on;
	u64 taken;
	u64 refused;
	struct hrtimer timer;
	ktime_t period;
	unsigned int per_tick;
	unsigned int stamp_offset;
	u64 sent;
	u64 streaming;
	u8 template[HUB_MAX_RECORD];
};

static struct hub_iio *devices[HUB_HANDLES];
static DECLARE_BITMAP(known, HUB_HANDLES);
static struct device *parent;

/* Called with the device's lock held. */
static bool push_locked(struct hub_iio *iio, const void *record)
{
	bool taken = iio->buffer_on && iio_push_to_buffers(iio->indio_dev, record) == 0;

	if (taken)
		iio->taken++;
	else
		iio->refused++;
	return taken;
}

static enum hrtimer_restart hub_iio_tick(struct hrtimer *timer)
{
	struct hub_iio *iio = container_of(timer, struct hub_iio, timer);
	enum hrtimer_restart again;
	unsigned long flags;
	u64 due;

	spin_lock_irqsave(&iio->lock, flags);
	due = min_t(u64, hrtimer_forward_now(timer, iio->period), MAX_CATCH_UP) * iio->per_tick;
	due = min(due, iio->streaming);
	iio->streaming -= due;
	for (; due > 0; due--) {
		put_unaligned_le64(++iio->sent, iio->template + iio->stamp_offset);
		push_locked(iio, iio->template);
	}
	again = iio->streaming ? HRTIMER_RESTART : HRTIMER_NORESTART;
	spin_unlock_irqrestore(&iio->lock, flags);
	return again;
}

static int switch_buffer(struct iio_dev *indio_dev, bool on)
{
	struct hub_iio *iio = iio_priv(indio_dev);
	struct hub_request request = {
		.node = HUB_NODE_BUFFER,
		.handle = iio->handle,
		.flag = on,
	};

	spin_lock_irq(&iio->lock);
	iio->buffer_on = on;
	spin_unlock_irq(&iio->lock);
	hub_keep(&request, NULL);
	return 0;
}

static int hub_iio_postenable(struct iio_dev *indio_dev)
{
	return switch_buffer(indio_dev, true);
}

/* After this the core removes the buffer from its list, so that nothing may be pushed any more. */
static int hub_iio_predisable(struct iio_dev *indio_dev)
{
	return switch_buffer(indio_dev, false);
}

static const struct iio_buffer_setup_ops hub_iio_setup_ops = {
	.postenable = hub_iio_postenable,
	.predisable = hub_iio_predisable,
};

static const struct iio_info hub_iio_info = {};

/* The widest channels that divide the record, so that it needs the fewest. */
static int make_channels(struct hub_iio *iio)
{
	unsigned int width = 8;
	unsigned int i;

	while (iio->record_size % width)
		width /= 2;
	iio->masklength = iio->record_size / width;
	iio->channels = kcalloc(iio->masklength, sizeof(*iio->channels), GFP_KERNEL);
	if (!iio->channels)
		return -ENOMEM;
	bitmap_fill(iio->masks, iio->masklength);
	for (i = 0; i < iio->masklength; i++) {
		struct iio_chan_spec *channel = &iio->channels[i];

		channel->type = IIO_COUNT;
		channel->indexed = 1;
		channel->channel = i;
		channel->scan_index = i;
		channel->scan_type.sign = 'u';
		channel->scan_type.realbits = width * 8;
		channel->scan_type.storagebits = width * 8;
		channel->scan_type.endianness = IIO_LE;
	}
	return 0;
}

static void free_iio(struct hub_iio *iio)
{
	if (iio->buffer)
		iio_kfifo_free(iio->buffer);
	kfree(iio->channels);
	iio_device_free(iio->indio_dev);
}

static struct hub_iio *make_iio(const struct hub_device *device)
{
	struct iio_dev *indio_dev = iio_device_alloc(parent, sizeof(struct hub_iio));
	struct hub_iio *iio;
	int ret;

	if (!indio_dev)
		return ERR_PTR(-ENOMEM);
	iio = iio_priv(indio_dev);
	iio->indio_dev = indio_dev;
	iio->handle = device->handle;
	iio->record_size = device->record_size;
	spin_lock_init(&iio->lock);
	hrtimer_init(&iio->timer, CLOCK_MONOTONIC, HRTIMER_MODE_REL);
	iio->timer.function = hub_iio_tick;
	ret = make_channels(iio);
	if (ret)
		goto err;

	strscpy(iio->name, device->name, sizeof(iio->name));
	indio_dev->name = iio->name;
	indio_dev->info = &hub_iio_info;
	indio_dev->channels = iio->channels;
	indio_dev->num_channels = iio->masklength;
	indio_dev->available_scan_masks = iio->masks;
	indio_dev->setup_ops = &hub_iio_setup_ops;
	indio_dev->modes = INDIO_BUFFER_SOFTWARE;

	iio->buffer = iio_kfifo_allocate();
	ret = -ENOMEM;
	if (!iio->buffer)
		goto err;
	ret = iio_device_attach_buffer(indio_dev, iio->buffer) ?: iio_device_register(indio_dev);
	if (ret)
		goto err;
	bitmap_fill((unsigned long *)iio->buffer->scan_mask, iio->masklength);
	return iio;

err:
	free_iio(iio);
	return ERR_PTR(ret);
}

static struct hub_iio *device_of(int handle)
{
	return handle >= 0 && handle < HUB_HANDLES ? devices[handle] : NULL;
}

int hub_iio_add(const struct hub_device *device)
{
	struct hub_iio *iio;

	if (device->handle < 0 || device->handle >= HUB_HANDLES || !device->record_size ||
	    device->record_size > HUB_MAX_RECORD)
		return -EINVAL;
	if (devices[device->handle])
		return -EEXIST;
	iio = make_iio(device);
	if (IS_ERR(iio))
		return PTR_ERR(iio);
	devices[device->handle] = iio;
	set_bit(device->handle, known);
	return iio_device_id(iio->indio_dev);
}

/* After this, a tick that was running has ended, too. */
static void stop_stream(struct hub_iio *iio)
{
	hrtimer_cancel(&iio->timer);
	iio->streaming = 0;
}

int hub_iio_remove(int handle)
{
	struct hub_iio *iio = device_of(handle);

	if (!iio)
		return -ENODEV;
	devices[handle] = NULL;
	stop_stream(iio);
	iio_device_unregister(iio->indio_dev); /* switches the buffer off */
	free_iio(iio);
	return 0;
}

void hub_iio_remove_all(void)
{
	int handle;

	for (handle = 0; handle < HUB_HANDLES; handle++)
		hub_iio_remove(handle);
	bitmap_zero(known, HUB_HANDLES);
}

int hub_iio_push(const struct hub_records *records)
{
	struct hub_iio *iio = device_of(records->handle);
	int taken = 0;
	unsigned int i;
	void *bytes;

	if (!iio)
		return -ENODEV;
	if (records->count > MAX_PUSH / iio->record_size)
		return -EINVAL;
	bytes = vmemdup_user(u64_to_user_ptr(records->data),
			     (size_t)iio->record_size * records->count);
	if (IS_ERR(bytes))
		return PTR_ERR(bytes);
	for (i = 0; i < records->count; i++) {
		spin_lock_irq(&iio->lock);
		taken += push_locked(iio, bytes + i * iio->record_size);
		spin_unlock_irq(&iio->lock);
	}
	kvfree(bytes);
	return taken;
}

int hub_iio_stream(const struct hub_stream *stream)
{
	struct hub_iio *iio = device_of(stream->handle);

	if (!iio)
		return -ENODEV;
	stop_stream(iio);
	if (!stream->count)
		return 0;
	if (stream->period_ns < MIN_PERIOD_NS || stream->period_ns > KTIME_MAX ||
	    !stream->per_tick || iio->record_size < sizeof(u64) ||
	    stream->stamp_offset > iio->record_size - sizeof(u64))
		return -EINVAL;
	if (copy_from_user(iio->template, u64_to_user_ptr(stream->data), iio->record_size))
		return -EFAULT;
	iio->period = ns_to_ktime(stream->period_ns);
	iio->per_tick = stream->per_tick;
	iio->stamp_offset = stream->stamp_offset;
	iio->sent = 0;
	iio->taken = 0;
	iio->refused = 0;
	iio->streaming = stream->count;
	hrtimer_start(&iio->timer, iio->period, HRTIMER_MODE_REL);
	return 0;
}

void hub_iio_state(struct hub_state *state)
{
	struct hub_iio *iio = device_of(state->handle);

	memset(state, 0, sizeof(*state));
	if (!iio)
		return;
	spin_lock_irq(&iio->lock);
	state->handle = iio->handle;
	state->buffer_enabled = iio->buffer_on;
	state->taken = iio->taken;
	state->refused = iio->refused;
	state->streaming = iio->streaming;
	spin_unlock_irq(&iio->lock);
}

bool hub_iio_known(int handle)
{
	return handle >= 0 && handle < HUB_HANDLES && test_bit(handle, known);
}

int hub_iio_init(void)
{
	parent = root_device_register("sensor_hub");
	return PTR_ERR_OR_ZERO(parent);
}

void hub_iio_exit(void)
{
	hub_iio_remove_all();
	root_device_unregister(parent);
}
