// The operator's commands.
#include "daemon.h"

namespace tspec::model {

namespace {

const char *const cli_name = "tspec_process_cli_cmd";

} // namespace

void Daemon::process_cli_cmd(const std::array<uint8_t, cli_buffer_size> &cmd)
{
    switch (cmd[0]) {
    case 1:
        cli_ping();
        break;
    case 2:
        cli_debug(cmd);
        break;
    case 3:
        cli_delete_client(mac_at(cmd, 1));
        break;
    case 4:
        cli_delete_tid(mac_at(cmd, 1), cmd[7]);
        break;
    case 5:
        cli_disassoc_mode(cmd[1]);
        break;
    case 6:
        cli_show(cmd[1]);
        break;
    default:
        break;
    }
}

void Daemon::cli_ping()
{
    const int error = environment_.tool_error();
    emit(SentToTool{"cli-tspec", Bytes{'P', 'O', 'N', 'G'}, error});
    if (error != 0) {
        console(text("%s: sendto error\r\n", cli_name));
    }
}

void Daemon::cli_debug(const std::array<uint8_t, cli_buffer_size> &cmd)
{
    const size_t count = cmd[1];
    if (count == 0) {
        std::string line = "tspec debug: ";
        if (state_.trace_mask == 0) {
            line += "off";
        }
        for (unsigned level = 1; level <= 7; level++) {
            if ((state_.trace_mask & (1U << (level - 1))) != 0) {
                line += text("%d ", static_cast<int>(level));
            }
        }
        console(line + "\r\n");
        return;
    }
    for (size_t i = 1; i <= count && 1 + i < cmd.size(); i++) {
        const uint8_t level = cmd[1 + i];
        if (level == 0) {
            state_.trace_mask = 0;
        } else if (level <= 7) {
            state_.trace_mask |= 1U << (level - 1);
        }
    }
}

void Daemon::cli_delete_client(const Mac &mac)
{
    console(text("%s:%s\r\n", cli_name, mac_text(mac).c_str()));
    rec_delete(rec_get(mac));
}

void Daemon::cli_delete_tid(const Mac &mac, uint8_t tid)
{
    console(text("%s:%s,tid=%u\r\n", cli_name, mac_text(mac).c_str(), tid));
    Entry *entry = ts_rec_find_by_tid(mac, tid, 0);
    if (entry == nullptr) {
        trace(0, "\r\nTID %u does not exist for client ", 0U);
        return;
    }
    if (old_ts_cleanup(*entry, 13) != 0) {
        trace(0, "\r\nError deleting TID %u for client ", 0U);
    }
}

void Daemon::cli_disassoc_mode(uint8_t mode)
{
    if (mode >= 2) {
        trace(0, "The disassociation mode is %u \r\n", state_.disassoc_mode);
        return;
    }
    state_.disassoc_mode = mode;
    trace(0, "The disassociation mode has been set to %u \r\n", mode);
}

void Daemon::cli_show(uint8_t show_all)
{
    std::array<unsigned, 4> streams{};
    unsigned clients = 0;
    if (state_.clients.empty()) {
        trace(0, "No TS records found.\r\n");
    } else {
        trace(0, "Client TS records:\r\n");
        for (const Record &client : state_.clients) {
            bool counted = false;
            for (int ac = 0; ac < 4; ac++) {
                for (int bank = 0; bank < 2; bank++) {
                    const Entry &entry = client.entries[bank][ac];
                    if (!entry.in_use() && show_all == 0) {
                        continue;
                    }
                    const unsigned priority = (entry.stored[element_at::ts_info + 1] & 0x38U) >> 3;
                    trace(0,
                          "sta=%s %3s tid=%u ac=%u dir=%u prio=%u med_time=%-5u state=%u "
                          "inact=%-3u tok=%-3u excess_use=%-5u\r\n",
                          mac_text(client.sta_mac).c_str(), bank == 0 ? "Pri" : "Alt", entry.tid,
                          entry.ac_idx, entry.dir, priority, entry.medium_time(), entry.state,
                          entry.inactivity_timeout / 1000000, entry.aux_byte, entry.excess_events);
                    if (!entry.in_use()) {
                        continue;
                    }
                    streams[entry.ac_idx]++;
                    if (!counted) {
                        counted = true;
                        clients++;
                    }
                }
            }
        }
        trace(0, "TS Totals:  clients=%u voice=%u video=%u,best-effort=%u,background=%u\r\n",
              clients, streams[vo], streams[vi], streams[be], streams[bk]);
    }
    const auto current = [&](size_t radio, uint8_t ac) -> unsigned {
        return state_.admitted_med_time[radio][ac];
    };
    const auto limit = [&](size_t radio, uint8_t ac) -> unsigned {
        return percent_to_units(state_.config[radio].limit_percent[ac]);
    };
    trace(0,
          "Admit Current/Limit:  wlan0: vo=%u/%u vi=%u/%u be=%u/%u bk=%u/%u  wlan1: "
          "vo=%u/%u vi=%u/%u be=%u/%u bk=%u/%u\r\n",
          current(0, vo), limit(0, vo), current(0, vi), limit(0, vi), current(0, be), limit(0, be),
          current(0, bk), limit(0, bk), current(1, vo), limit(1, vo), current(1, vi), limit(1, vi),
          current(1, be), limit(1, be), current(1, bk), limit(1, bk));
}

} // namespace tspec::model
