"""What the library uses of a device: the one table that the kit's files are generated from, and
that is checked against what the library does."""

from collections import namedtuple

SERVICE = "system   system"  # the sensors service's user and group
OTHERS = SERVICE  # of what other users of IIO share with it; the modes there are the kernel's

# Where the links of a class or bus lead, on the platform that the labels are for.
PLACES = (
    ("/sys/class/sensors/", "/devices/virtual/sensors/"),
    ("/sys/bus/iio/devices/iio:device*", "/devices/iio:device*"),
    ("/sys/bus/iio/devices/", "/bus/iio/devices"),
)

# Label: attributes of the type, None for the platform's own type; what it is on.
LABELS = {
    "sysfs_sensorhub": (
        "sysfs_type, fs_type", "Attributes of the hub's class devices that are only read."),
    "sysfs_sensorhub_control": (
        "sysfs_type, fs_type", "Those by which it is switched and talked to."),
    "sysfs_sensorhub_iio": (
        "sysfs_type, fs_type", "Its IIO devices' attributes, and the list of devices."),
    "iio_device": (None, "Record devices."),
    "sensorhub_batch_device": (
        "dev_type", "The hub's batch device: no data, one request per sensor."),
    "sensorhub_data_device": (
        "dev_type",
        "Bytes for the hub: injected sensor data, and messages to its context algorithms."),
    "sensorhub_vendor_data_file": (
        "file_type, data_file_type",
        "What the hub's firmware may keep on the host, dumps among it."),
}

# `opened`: each way in which the node is opened, without the CLOEXEC that every open has; DIRECTORY
# and REMOVE for the calls of these names. `request`: number of an ioctl, without the handle.
Node = namedtuple("Node", "path opened owner mode label request", defaults=(None,))
HUB, REAR = "/sys/class/sensors/hbx_sensor/", "/sys/class/sensors/als_rear/"
COVER = "/sys/class/sensors/flip_cover_detector_sensor/"
IIO, DATA = "/sys/bus/iio/devices/", "/data/vendor/sensorhub/"
NODES = [Node(*row) for row in (
    (HUB + "sensor_spec", "RDONLY", SERVICE, 0o440, "sysfs_sensorhub"),
    (HUB + "enable", "RDWR", SERVICE, 0o660, "sysfs_sensorhub_control"),
    (HUB + "hbx_flush", "WRONLY", SERVICE, 0o220, "sysfs_sensorhub_control"),
    (HUB + "qcontext_list", "RDONLY", SERVICE, 0o440, "sysfs_sensorhub"),
    (HUB + "shub_file", "RDWR", SERVICE, 0o660, "sysfs_sensorhub_control"),
    (HUB + "shub_dump", "RDONLY+NONBLOCK", SERVICE, 0o440, "sysfs_sensorhub"),
    (REAR + "als_enable", "WRONLY+CREAT+TRUNC", SERVICE, 0o220, "sysfs_sensorhub_control"),
    (REAR + "als_data", "RDONLY", SERVICE, 0o440, "sysfs_sensorhub"),
    (COVER + "nfc_cover_status", "RDWR", SERVICE, 0o660, "sysfs_sensorhub_control"),
    (IIO, "DIRECTORY", None, None, "sysfs_sensorhub_iio"),
    (IIO + "iio:device*/name", "RDONLY", OTHERS, 0o444, "sysfs_sensorhub_iio"),
    (IIO + "iio:device*/buffer/length", "WRONLY+TRUNC", OTHERS, 0o644, "sysfs_sensorhub_iio"),
    (IIO + "iio:device*/buffer/enable", "WRONLY+TRUNC", OTHERS, 0o644, "sysfs_sensorhub_iio"),
    (IIO + "iio:device*/buffer/data_available", "RDONLY", OTHERS, 0o444, "sysfs_sensorhub_iio"),
    ("/dev/iio:device*", "RDONLY+NONBLOCK", SERVICE, 0o440, "iio_device"),
    ("/dev/batch_io", "RDONLY", SERVICE, 0o440, "sensorhub_batch_device", 0x8008FC00),
    ("/dev/shub_data_injection", "RDWR", SERVICE, 0o660, "sensorhub_data_device"),
    ("/dev/hbx_data_injection", "RDWR", SERVICE, 0o660, "sensorhub_data_device"),
    ("/dev/hbx_sensorhub", "RDWR", SERVICE, 0o660, "sensorhub_data_device"),
    ("/dev/shub_sensorhub", "RDWR", SERVICE, 0o660, "sensorhub_data_device"),
    (DATA, "DIRECTORY", SERVICE, 0o770, "sensorhub_vendor_data_file"),
    (DATA + "*", "RDONLY+NONBLOCK+NOFOLLOW WRONLY+CREAT WRONLY+CREAT+NONBLOCK+NOFOLLOW REMOVE",
     None, None, "sensorhub_vendor_data_file"),
)]

# Property, the calls, the macro that declares its type, the type (None for one of the platform's
# own that every process may read), what it is for.
PROPERTIES = (
    ("persist.sns.camera_light", "setprop", "vendor_restricted_prop",
     "vendor_sensorhub_camera_prop",
     "Set to \"false\" at each start of the library; the camera's side sets it otherwise."),
    ("persist.dm.passive.ambient_brightness", "getprop", "vendor_public_prop",
     "vendor_sensorhub_display_prop", "Set by the display's side, which may be the system's."),
    ("ro.build.type", "getprop", None, None, ""),
)
