// Leaves errno as it found it: reporting an error must not change which error
// the caller reports next.
#pragma once

#include <cerrno>

class tspec_errno_keeper_t {
  public:
    tspec_errno_keeper_t() = default;
    tspec_errno_keeper_t(const tspec_errno_keeper_t &) = delete;
    tspec_errno_keeper_t &operator=(const tspec_errno_keeper_t &) = delete;
    ~tspec_errno_keeper_t() { errno = saved_; }

  private:
    int saved_ = errno;
};
