// How a scenario gets to an access point that is being served: a local stream
// socket of one abstract name. The client sends a line of its wishes ("colour",
// "quiet", "fresh"), the file's name and its text, and shuts its side; it is sent the
// story as it goes on, then a NUL and the status as a digit. Nobody but the same
// user and root is listened to.
#pragma once

#include "sim/lib/socket.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tspec::sim::serve {

inline constexpr const char *control_name = "tspec-sim-serve";

struct ApplyRequest {
    std::string file;
    std::string text;
    bool colour = false;
    bool quiet = false; // failures and results only
    bool fresh = false; // on a daemon started for it
    Socket client{};
};

class ControlServer {
  public:
    // Throws std::system_error when the name is taken.
    ControlServer();

    // What to wait on until next() may have something.
    std::vector<int> descriptors() const;

    // A request that is complete. Does not wait.
    std::optional<ApplyRequest> next();

  private:
    void accept_client();
    bool read_all();

    Socket listening_;
    Socket client_;
    std::string received_;
};

// Both end quietly when the client has gone.
void send_story(const Socket &client, std::string_view text);
void send_status(const Socket &client, int status);

// The client's side: passes the story on as it comes. None when nobody serves,
// or who served went away.
std::optional<int> apply(const ApplyRequest &request,
                         const std::function<void(std::string_view)> &tell);

} // namespace tspec::sim::serve
