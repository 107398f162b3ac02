/* SPDX-License-Identifier: GPL-2.0 WITH Linux-syscall-note */
/*
 * The control device of the simulated hub.
 *
 * The module starts without sensors. A program adds them, sets the content of the class files,
 * pushes records to the devices, and reads back the requests to the hub: each read() of the control
 * device returns one struct hub_request and its bytes, or fails with EAGAIN.
 */
#ifndef HUB_UAPI_H
#define HUB_UAPI_H

#include <linux/ioctl.h>
#include <linux/types.h>

#define HUB_CONTROL_DEVICE "/dev/hub_control"

#define HUB_HANDLES 256
#define HUB_NAME_SIZE 40
#define HUB_MAX_RECORD 512
#define HUB_MAX_FILE 4096

/* The target of a request, or of a file's content. */
enum hub_node {
	HUB_NODE_ENABLE,			   /* sysfs enable */
	HUB_NODE_FLUSH,				   /* sysfs hbx_flush */
	HUB_NODE_REAR_ENABLE,			   /* als_rear/als_enable */
	HUB_NODE_BUFFER,			   /* a device's buffer being switched */
	HUB_NODE_BATCH,				   /* /dev/batch_io */
	HUB_NODE_SHUB_INJECTION,		   /* /dev/shub_data_injection */
	HUB_NODE_HBX_INJECTION,			   /* /dev/hbx_data_injection */
	HUB_NODE_MESSAGE,			   /* /dev/hbx_sensorhub */
	HUB_FIRST_CONTENT,			   /* all that follow have a content */
	HUB_NODE_FILE_MANAGER = HUB_FIRST_CONTENT, /* sysfs shub_file */
	HUB_NODE_REAR_DATA,			   /* als_rear/als_data */
	HUB_NODE_SPEC,				   /* sysfs sensor_spec */
	HUB_NODE_CONTEXT_LIST,			   /* sysfs qcontext_list */
	HUB_NODE_DUMP,				   /* sysfs shub_dump */
	HUB_NODE_NFC_COVER,			   /* nfc_cover_status */
	HUB_NODES
};

/* One IIO device. The ioctl's result is its number. */
struct hub_device {
	__s32 handle;
	__u32 record_size;
	char name[HUB_NAME_SIZE];
};

/* Consecutive records. The ioctl's result is how many the device's buffer took. */
struct hub_records {
	__s32 handle;
	__u32 count;
	__u64 data;
};

/*
 * A stream of records at an even rate, each a copy of the template with its number, counted from 1,
 * in the eight bytes at stamp_offset. One stream per device; a count of 0 stops it.
 */
struct hub_stream {
	__s32 handle;
	__u32 per_tick;
	__u64 period_ns;
	__u64 count;
	__u64 data;
	__u32 stamp_offset;
	__u32 reserved;
};

struct hub_state {
	__s32 handle;
	__s32 buffer_enabled;
	__u64 taken;	 /* records that the buffer took since a stream was last begun */
	__u64 refused;	 /* records lost since then because it was full or off */
	__u64 streaming; /* records that a stream has yet to send */
};

struct hub_file {
	__u32 node;
	__u32 size;
	__u64 data;
};

struct hub_request {
	__u32 node;
	__s32 handle; /* -1: none, or unreadable */
	__s32 error;  /* errno of the refusal, 0 if accepted */
	__u32 number; /* of an ioctl; of a write, the file position */
	__u32 flag;   /* of the enable files and HUB_NODE_BUFFER: on or off */
	__u32 size;   /* bytes that follow */
};

#define HUB_IOC_RESET _IO('H', 0) /* no devices, contents, requests */
#define HUB_IOC_ADD _IOW('H', 1, struct hub_device)
#define HUB_IOC_REMOVE _IOW('H', 2, __s32) /* unplugs the device of a handle */
#define HUB_IOC_PUSH _IOW('H', 3, struct hub_records)
#define HUB_IOC_STREAM _IOW('H', 4, struct hub_stream)
#define HUB_IOC_STATE _IOWR('H', 5, struct hub_state)
#define HUB_IOC_FILE _IOW('H', 6, struct hub_file) /* rear data create that sensor */

#endif
