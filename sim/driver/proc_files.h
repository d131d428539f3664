// The wireless driver's proc files.
#pragma once

#include <cstdio>

namespace tspec::sim::driver {

// "/proc/net/ieee80211/<interface>/iface/<interface>"
bool is_proc_file(const char *path);

// The file that stands in for it, as a path to open for real; place holds 64
// bytes. False with errno when the file is absent; reports the read.
bool proc_stand_in(const char *path, char *place);

} // namespace tspec::sim::driver
