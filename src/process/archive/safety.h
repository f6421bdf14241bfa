// Archives come from strangers and are often unpacked by root.
#ifndef BRINDLE_PROCESS_ARCHIVE_SAFETY_H
#define BRINDLE_PROCESS_ARCHIVE_SAFETY_H

#include <string>

/// Removes from the unpacked `folder` what a Windows PC cannot have put there and what could reach out of
/// it: pipes, sockets and devices, and symbolic links that are absolute or go upwards. Each removal is named
/// on standard error. Links that only point downwards stay.
void remove_unsafe_entries(const std::string& folder);

#endif
