// The daemon's observable behaviour, written as naively as possible: give it
// the datagrams of one turn of its loop and the time, and it returns what
// anybody outside could see it do. Nothing is shared with the daemon's own
// code, so that the two can be held against each other.
#pragma once

#include "effects.h"
#include "environment.h"
#include "state.h"

#include <optional>
#include <string>

namespace tspec::model {

struct Settings {
    int udp_socket = 3;        // number that traces name
    uint32_t time = 0;         // seconds at start-up
    bool console_opens = true; // else console lines go to standard error
};

// What is ready when the daemon wakes up: at most one datagram for each
// socket, or the errno that reading it gives.
struct Ready {
    std::optional<Bytes> udp{};
    std::optional<Bytes> dman{};
    std::optional<Bytes> cli{};
    int udp_error = 0;
    int dman_error = 0;
    int cli_error = 0;
};

// In traces of a failed read the error number is left over from whatever
// failed before; the model writes this word in its place.
inline constexpr const char *unknown_errno = "<errno>";

class Daemon {
  public:
    Daemon(Environment &environment, const Settings &settings);
    Daemon(const Daemon &) = delete;
    Daemon &operator=(const Daemon &) = delete;

    Effects udp(const Bytes &datagram);
    Effects dman(const Bytes &datagram);
    Effects cli(const Bytes &datagram);
    Effects turn(const Ready &ready);
    Effects timeout();
    Effects wait_error(int error); // the wait itself fails

    void set_time(uint32_t seconds);
    uint32_t time() const { return time_; }

    const State &state() const { return state_; }

  private:
    // How a branch of the hostapd handler goes on.
    enum class Next { leave, finish, send };
    struct Outcome {
        Next next;
        int result;
    };

    // A hostapd message with its front decoded.
    struct Request {
        const Bytes &msg;
        uint32_t len;
        uint8_t cmd;
        uint8_t radio_unit;
        size_t radio_index;
        uint8_t vap;
        Mac sta_mac;
        std::string sta_text;
        uint8_t tid;
        uint8_t dir;
        uint8_t ac;
        uint8_t ac_idx;
        bool needs_medium_time;
    };

    // loop.cpp: the main loop and the dispatch of type bytes
    Effects wake_up(const Ready &ready, int wait_error);
    void serve(const Ready &ready);
    void serve_udp(const Bytes &datagram);
    void serve_dman(const Bytes &datagram);
    void serve_cli(const Bytes &datagram);
    uint32_t receive(const Bytes &datagram);
    void periodic_work();
    int process_msg(const Bytes &msg, uint32_t len);
    bool is_managed() const;

    // trace.cpp: console, packet dump, standard error
    void console(const std::string &line);
    bool is_traced(uint32_t level) const;
    [[gnu::format(printf, 3, 4)]] void trace(uint32_t level, const char *format, ...);
    void hex_ver_pkt_print(const Bytes &msg, uint32_t len);
    void print_error(const std::string &line, int error);

    // ipc.cpp: datagrams to the peers
    int send_msg(uint16_t port, const Bytes &bytes);
    int send_receive_frame_duration(const Bytes &query, Bytes &answer);

    // store.cpp: client records and their streams
    Record *rec_get(const Mac &mac);
    Record *rec_add(const Mac &mac);
    int rec_delete(Record *record);
    Record *ts_rec_get(const Mac &mac, uint8_t ac_idx);
    Entry *rec_ts_find(Record &record, uint8_t tid, int mode);
    const Entry *rec_ts_find(const Record &record, uint8_t tid) const;
    Entry *ts_rec_find_by_tid(const Mac &mac, uint8_t tid, int mode);
    int ts_rec_delete_tid(const Mac &mac, uint8_t ac_idx, uint8_t tid);
    int ts_rec_delete(const Mac &mac, uint8_t ac_idx);
    void cursor_first();
    void cursor_next();
    uint32_t inactivity_timeout_get(size_t radio_index, uint8_t dir) const;

    // driver.cpp: station state
    int client_status_flags_get(const Mac &mac, uint8_t radio_unit, uint8_t vap, uint32_t &flags);
    bool client_is_associated(const Mac &mac, uint8_t radio_unit, uint8_t vap);
    uint8_t client_roam_flag_get(const Mac &mac, uint8_t radio_unit, uint8_t vap);

    // hostapd_requests.cpp: the common road of all hostapd messages, ADDTS
    int hostapd_process(const Bytes &msg, uint32_t len);
    Outcome hostapd_branch(const Request &request, Bytes &out);
    int hostapd_exit(int result);
    Outcome addts_request(const Request &request, Bytes &out);
    Entry &choose_entry(const Request &request, Record &record, Entry *existing);

    // hostapd_events.cpp: what happens to streams and stations later
    Outcome delts_request(const Request &request, Bytes &out);
    Outcome ts_inactive(const Request &request, Bytes &out);
    Outcome ts_exceed_time(const Request &request);
    Outcome ts_unauth_traffic(const Request &request, Bytes &out);
    void release_fbt_time(const Entry &entry, uint8_t ac_idx);
    int sta_disassoc(const Bytes &msg);

    // fast_transition.cpp
    int fbt_addts_req_process(const Bytes &msg);
    void fbt_ts_delete(const Bytes &msg, uint8_t ac_idx);

    // hostapd_send.cpp: messages to hostapd and to whoever decides
    int send_addts_reject(const Bytes &request, uint8_t ac_idx, uint32_t code);
    int send_hostapd_delts(const Entry &entry, size_t radio_index);
    int send_mapd_delts(const Entry &entry, uint8_t ac_idx);
    int send_to_acu(Bytes &msg, uint8_t ac_idx, uint8_t cmd);

    // admission.cpp: the local decision
    int acu_process(Bytes &msg, uint8_t ac_idx);
    int acu_admission_req_recv(const Bytes &msg, uint8_t ac_idx, uint8_t &result);
    int acu_deletion_req_recv(const Bytes &msg, uint8_t ac_idx);
    int acu_ts_removal(uint8_t radio_unit, uint8_t ac_idx, uint16_t medium_time);
    int acu_fbt_ts_add(uint8_t radio_unit, uint8_t ac_idx, uint16_t medium_time);
    int acu_fbt_ts_removal(uint8_t radio_unit, uint8_t ac_idx, uint16_t medium_time);
    uint32_t get_wlan_util(const std::string &interface);

    // medium_time.cpp
    int medium_time_calc(const Request &request, uint16_t &medium_time);

    // mapd.cpp: admission responses and superseded streams
    int mapd_process(const Bytes &msg, uint32_t len);
    void admit(Entry &entry, const Bytes &msg, uint8_t ac_idx, Bytes &reply);
    int mapd_old_ts_removal(Record &client, uint8_t ac_new, uint8_t tid_new);
    int old_ts_cleanup(Entry &entry, uint32_t flags);

    // status.cpp: AP state, snapshot, totals, status message
    int mapd_direct_process(const Bytes &msg, uint32_t len);
    void ts_status_update(uint8_t ac);
    void ap_statistics_update(uint8_t ac, const Mac &mac, uint8_t cmd, uint8_t result);
    void mapd_status_update_msg_send();

    // dman.cpp: configuration and reports
    int config_msg_process(const Bytes &msg, uint32_t len);
    int violation_interval_process(const Bytes &msg, uint32_t len);
    int dman_stats_msg(const std::string &command);
    int send_ap_stats();
    int send_radio_stats(size_t radio);
    int send_vap_stats(size_t radio, size_t vap);
    int send_stats_text(const std::string &report, const char *name, const char *subject);
    int send_client_data();
    std::optional<std::string> client_data_text();

    // violations.cpp
    void violation_report_notify();
    int unauth_traffic_report_notify(const Bytes &msg, uint8_t ac);
    void snmp_trap_write(const std::string &record);
    void log_open();
    void log_line(const std::string &line);
    void log_close();

    // cli.cpp
    void process_cli_cmd(const std::array<uint8_t, cli_buffer_size> &cmd);
    void cli_ping();
    void cli_debug(const std::array<uint8_t, cli_buffer_size> &cmd);
    void cli_delete_client(const Mac &mac);
    void cli_delete_tid(const Mac &mac, uint8_t tid);
    void cli_disassoc_mode(uint8_t mode);
    void cli_show(uint8_t show_all);

    template <typename Kind>
    void emit(Kind effect)
    {
        effects_.push_back(std::move(effect));
    }

    Environment &environment_;
    Settings settings_;
    uint32_t time_;
    State state_;
    Effects effects_;
    int last_error_ = 0; // errno of the last failed send, as perror shows it
};

// Thrown inside the model when the process dies in the middle of a turn.
struct ProcessEnded {};

const char *access_category_name(uint8_t ac_idx);
const char *direction_name(uint8_t dir);

// The stored element's fields into the 56-byte body at `offset` of a message, and back.
void pack_body(const std::array<uint8_t, element_at::stored_size> &element, Bytes &msg,
               size_t offset);
void unpack_body(const Bytes &msg, size_t offset,
                 std::array<uint8_t, element_at::stored_size> &element);

uint16_t percent_to_units(uint16_t percent);

// First "wlan" of the text: 0 or 1 by the digit behind it, else -1.
int find_radio_string(const std::string &name);
// Number behind the first "vap" after the first "wlan"; 0 when there is none.
int find_vap_string(const std::string &name);

} // namespace tspec::model
