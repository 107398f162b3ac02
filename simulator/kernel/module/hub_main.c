// SPDX-License-Identifier: GPL-2.0
/*
 * A sensor hub without hardware: IIO devices whose records a program supplies, and the files and
 * character devices by which the hub takes requests.
 */
#include <linux/module.h>

#include "hub.h"

static int __init hub_init(void)
{
	int ret;

	ret = hub_iio_init();
	if (ret)
		return ret;
	ret = hub_nodes_init();
	if (ret)
		goto err_iio;
	ret = hub_control_init();
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
	hub_control_exit();
	hub_nodes_exit();
	hub_iio_exit();
}

module_init(hub_init);
module_exit(hub_exit);
MODULE_DESCRIPTION("Simulated sensor hub");
MODULE_LICENSE("GPL");
