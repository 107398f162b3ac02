// Anonymous shared memory by file descriptor.
#pragma once

#include <stddef.h>

extern "C" {

/// 1 when the descriptor is a shared-memory region, else 0.
int ashmem_valid(int fd);

/// A new zeroed region (close the descriptor to drop it), or -1 with errno.
int ashmem_create_region(const char* name, size_t size);

/// Limits what later mappings may do (PROT_*). 0, or -1 with errno.
int ashmem_set_prot_region(int fd, int prot);

/// The region's size in bytes, or -1 with errno ENOTTY.
int ashmem_get_size_region(int fd);

}  // extern "C"
