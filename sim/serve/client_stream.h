// A stream whose reader is the client of a request.
#pragma once

#include "sim/lib/socket.h"

#include <cstdio>

namespace tspec::sim::serve {

class ClientStream {
  public:
    // The client must stay open as long as the stream.
    explicit ClientStream(const Socket &client);
    ~ClientStream();
    ClientStream(const ClientStream &) = delete;
    ClientStream &operator=(const ClientStream &) = delete;

    std::FILE *file() const { return file_; }

  private:
    static ssize_t write(void *stream, const char *text, size_t size);

    const Socket &client_;
    std::FILE *file_;
};

} // namespace tspec::sim::serve
