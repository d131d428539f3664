/*
 * A stream whose reader is the client of a request.
 */
#ifndef TSPEC_SIM_SERVE_CLIENT_STREAM_H
#define TSPEC_SIM_SERVE_CLIENT_STREAM_H

#include <cstdio>

#include "sim/lib/socket.h"

namespace tspec::sim::serve {

class ClientStream {
  public:
    /* The client must stay open as long as the stream. */
    explicit ClientStream(const Socket &client);
    ~ClientStream();
    ClientStream(const ClientStream &) = delete;
    ClientStream &operator=(const ClientStream &) = delete;

    std::FILE *file() const { return file_; }

  private:
    static ssize_t write(void *stream, const char *text, std::size_t size);

    const Socket &client_;
    std::FILE *file_;
};

} // namespace tspec::sim::serve

#endif
