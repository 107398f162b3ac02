/* SPDX-License-Identifier: GPL-2.0 */
#ifndef HUB_H
#define HUB_H

#include <linux/poll.h>
#include <linux/types.h>

#include "hub_uapi.h"

/* Each source calls only functions that are declared above its own. */

/* hub_requests.c: kept requests. */
void hub_keep(const struct hub_request *request, const void *bytes);
void hub_requests_reset(void);
ssize_t hub_requests_read(struct file *file, char __user *buffer, size_t size, loff_t *offset);
__poll_t hub_requests_poll(struct file *file, poll_table *wait);

/* hub_iio.c: the devices. One call at a time, except of hub_iio_known(). All may sleep. */
int hub_iio_init(void);
void hub_iio_exit(void);
/* The number of the new device. */
int hub_iio_add(const struct hub_device *device);
int hub_iio_remove(int handle);
void hub_iio_remove_all(void);
int hub_iio_push(const struct hub_records *records);
int hub_iio_stream(const struct hub_stream *stream);
void hub_iio_state(struct hub_state *state);

/* A handle stays known after its device is unplugged, since the hub still takes requests. */
bool hub_iio_known(int handle);

/* hub_nodes.c: class files and character devices but the control device; one call at a time. */
int hub_nodes_init(void);
void hub_nodes_exit(void);
int hub_nodes_set_file(const struct hub_file *file);
void hub_nodes_reset(void);

#endif
