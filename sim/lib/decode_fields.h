// What the decoders share: field lists of the wire structures, and the decoders
// of everything else. Internal.
#pragma once

#include "sim/lib/decode.h"
#include "tspec/message.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tspec::sim {

class FieldList {
  public:
    // text defaults to the number itself.
    void number(std::string name, uint64_t value, std::string text = {});
    void words(std::string name, std::string value, std::string text = {});
    void mac(std::string name, const uint8_t *octets);
    void medium_time(std::string name, uint32_t value);

    std::vector<Field> take() { return std::move(fields_); }

  private:
    std::vector<Field> fields_;
};

std::vector<Field> fields_of(const tspec_hostapd_msg_t &message);
std::vector<Field> fields_of(const tspec_mapd_msg_t &message);
std::vector<Field> fields_of(const tspec_mapd_direct_msg_t &message);
std::vector<Field> fields_of(const tspec_mapd_status_msg_t &message);
std::vector<Field> fields_of(const tspec_dman_config_msg_t &message);
std::vector<Field> fields_of(const tspec_dman_violation_interval_msg_t &message);
std::vector<Field> fields_of(const tspec_frame_dur_req_t &message);
std::vector<Field> fields_of(const tspec_frame_dur_rsp_t &message);

// What a command code is called.
struct CommandTitle {
    uint8_t code;
    const char *title;
    const char *name;
};

void set_title(Decoded &decoded, std::span<const CommandTitle> titles, uint8_t code);

// Empty when there is no such field.
std::string text_of_field(const Decoded &decoded, std::string_view name);

Decoded decode_status_request(ByteView bytes);
Decoded decode_report(ByteView bytes);  // dman's text answers
Decoded decode_command(ByteView bytes); // operator's
Decoded decode_pong(ByteView bytes);
Decoded decode_unknown(ByteView bytes);

// "wlan0", "wlan1vap3"; "radio 7" for a number that is none.
std::string interface_name(uint8_t radio_unit, uint8_t vap = 0);

// "voice", "video", "best-effort", "background", "unknown".
std::string access_category_name(uint8_t ac_idx);
std::string direction_name(uint8_t direction);

} // namespace tspec::sim
