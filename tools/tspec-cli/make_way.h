// What keeps the daemon from starting, cleared away.
#pragma once

// Removes whatever is at `path`; a folder that is not empty goes aside. A socket of
// root's or of the service's user that somebody reads from stays. Says whose it
// was. False with errno set when it stays: EADDRINUSE for a living daemon, which
// has been told.
bool tspec_tool_clear_path(const char *path);
