#include "sim/serve/client_stream.h"

#include "sim/serve/control_socket.h"

#include <cerrno>
#include <string_view>
#include <system_error>

namespace tspec::sim::serve {

ClientStream::ClientStream(const Socket &client) : client_(client)
{
    file_ = fopencookie(this, "w", {nullptr, write, nullptr, nullptr});
    if (!file_) {
        throw std::system_error(errno, std::generic_category(), "stream");
    }
    std::setvbuf(file_, nullptr, _IOLBF, 0);
}

ClientStream::~ClientStream()
{
    std::fclose(file_);
}

ssize_t ClientStream::write(void *stream, const char *text, size_t size)
{
    send_story(static_cast<ClientStream *>(stream)->client_, std::string_view(text, size));
    return static_cast<ssize_t>(size);
}

} // namespace tspec::sim::serve
