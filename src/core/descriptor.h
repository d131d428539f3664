// Holder of one descriptor, and the socket calls that several rooms share.
#pragma once

#include <cstdint>

// Owns a descriptor and closes it; -1 is none.
class tspec_descriptor_t {
  public:
    explicit tspec_descriptor_t(int32_t fd) : fd_(fd) {}
    tspec_descriptor_t(const tspec_descriptor_t &) = delete;
    tspec_descriptor_t &operator=(const tspec_descriptor_t &) = delete;
    ~tspec_descriptor_t();

    int32_t get() const { return fd_; }
    bool valid() const { return fd_ >= 0; }

  private:
    int32_t fd_;
};

// A datagram socket of the domain that select can wait for, or -1. A descriptor
// of FD_SETSIZE or more would write outside an fd_set, so it counts as a socket
// that could not be had.
int32_t tspec_datagram_socket(int32_t domain);

// Sets SO_REUSEADDR; whether that worked shows when the socket is bound.
void tspec_reuse_address(int32_t sock);
