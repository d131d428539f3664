// One kind of request, made again and again on a daemon that holds a number of
// other streams. The client that asks stands behind all others in the daemon's
// list, so that every look-up passes them: no request costs more.
#pragma once

#include "bench/load/kinds.h"
#include "bench/load/peers.h"
#include "bench/load/process.h"

#include <cstddef>
#include <vector>

namespace tspec::bench {

enum class Style { one, pipelined };

inline constexpr size_t pipeline_depth = 32;

struct Burst {
    std::vector<double> latencies; // microseconds, in the order of the answers
    size_t requests = 0;
    double seconds = 0; // of requests; what comes between them is not counted
};

class Requests {
  public:
    // For the daemon: fills the store with other streams, one client each, and
    // sets everything up. The floor needs only to be there.
    Requests(Peers &peers, const Process &process, Kind kind, Style style, int others,
             bool is_daemon);

    // One request after the other, or pipeline_depth outstanding at any time,
    // until the time is up. Requests without an answer are timed to the answer
    // of a ping behind them.
    Burst run_one_at_a_time(Clock::time_point end);
    Burst run_pipelined(Clock::time_point end);

    // CPU time of single requests, in microseconds, from sleep to sleep.
    std::vector<double> cpu_of_requests(size_t count);

    // Length of the report that the kind is answered with; 1 where it is not.
    size_t reply_length();

    // For the counting of instructions: what goes before a request, the request
    // up to its end, and what cleans up behind it.
    void prepare();
    void perform();
    void tidy();

  private:
    void fill(int others);
    void add_stream();
    void remove_stream();
    void send();
    void await();
    bool has_answer() const;
    bool makes_new_stream() const;
    Burst run_windowed(Clock::time_point end);
    Burst run_pairs(Clock::time_point end);
    Burst run_batches(Clock::time_point end);

    Peers &peers_;
    const Process &process_;
    Kind kind_;
    Style style_;
    bool is_daemon_;
    Bytes addts_;
    Bytes delts_;
    Bytes request_;
};

} // namespace tspec::bench
