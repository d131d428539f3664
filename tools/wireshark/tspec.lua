--[[
Wireshark dissector for every datagram of the TSPEC daemon. Fields are named as in
docs/protocol.md, which also tells how to install this file; filters prefix them
with "tspec.": tspec.sta_mac, tspec.cmd, tspec.ts_info.tid.

Dissectors:
    tspec             UDP, by port: 55263, 55301, 57773, 57774, 55265
    tspec_dman        what dman sends to its local socket
    tspec_cli         what the operator sends to the command-line socket
    tspec_cli_reply   what the operator gets back
The last three have no port. Captures carry such datagrams as exported PDUs, which
name their dissector.
]]

local tspec = Proto("tspec", "TSPEC admission control")
local tspec_dman = Proto("tspec_dman", "TSPEC admission control, from dman")
local tspec_cli = Proto("tspec_cli", "TSPEC admission control, operator's command")
local tspec_cli_reply = Proto("tspec_cli_reply", "TSPEC admission control, answer to the operator")

local DAEMON_PORT, FRAME_DURATION_PORT = 55263, 55301
local HOSTAPD_PORT, MAPD_PORT, DMAN_PORT = 57773, 57774, 55265

---- preferences -----------------------------------------------------------------

local LITTLE, BIG = 1, 2
tspec.prefs.byte_order = Pref.enum(
    "Byte order", LITTLE, "Byte order of the host on which the datagrams were captured",
    { { 1, "Little-endian", LITTLE }, { 2, "Big-endian", BIG } }, false)
tspec.prefs.rebuild_frame = Pref.bool(
    "Show the TSPEC in an 802.11 frame", true,
    "Rebuild the WMM action frame that carries the TSPEC over the air, and hand it to the 802.11 " ..
    "dissector")

local function big_endian()
    return tspec.prefs.byte_order == BIG
end

local function number(range)
    return big_endian() and range:uint() or range:le_uint()
end

---- codes -----------------------------------------------------------------------

local TYPE_CONFIG, TYPE_STATUS_REQUEST, TYPE_HOSTAPD, TYPE_MAPD = 1, 2, 3, 4
local TYPE_INTERVAL, TYPE_DIRECT = 5, 6
local TYPE_PEER, TYPE_FRAME_DURATION, TYPE_STATUS = 0x23, 0x24, 0x28

local types = {
    [1] = "TSPEC_DMAN_CONFIG_MSG", [2] = "TSPEC_DMAN_STATUS_REQ_MSG", [3] = "TSPEC_HOSTAPD_MSG",
    [4] = "TSPEC_MAPD_MSG", [5] = "TSPEC_DMAN_VIOLATION_INTERVAL_MSG",
    [6] = "TSPEC_MAPD_DIRECT_MSG", [0x23] = "TSPEC_PEER_MSG", [0x24] = "TSPEC_FRAME_DUR_MARKER",
    [0x28] = "TSPEC_MAPD_STATUS_MSG",
}

local ADDTS_REQ, ADDTS_RESP, DELTS_REQ, DELTS, UNAUTH_TRAFFIC, STA_DISASSOC, FBT_ADDTS =
    1, 2, 3, 5, 7, 8, 9

local commands = {
    [1] = "TSPEC_ADDTS_REQ_CMD", [2] = "TSPEC_ADDTS_RESP_CMD", [3] = "TSPEC_DELTS_REQ_CMD",
    [4] = "TSPEC_TS_INACTIVE_CMD", [5] = "TSPEC_DELTS_CMD", [6] = "TSPEC_TS_EXCEED_TIME_CMD",
    [7] = "TSPEC_TS_UNAUTH_TRAFFIC_CMD", [8] = "TSPEC_STA_DISASSOC_CMD",
    [9] = "TSPEC_FBT_ADDTS_CMD",
}

local titles = {
    [1] = "ADDTS request", [2] = "ADDTS response", [3] = "DELTS request", [4] = "Stream inactive",
    [5] = "DELTS", [6] = "Medium time exceeded", [7] = "Unauthorised traffic",
    [8] = "Station disassociated", [9] = "Fast-transition ADDTS",
}

local function set(...)
    local members = {}
    for _, member in ipairs({ ... }) do
        members[member] = true
    end
    return members
end

-- Which commands travel where.
local from_hostapd = set(1, 3, 4, 6, 7, 8, 9)
local to_hostapd = set(2, 5)
local from_mapd = set(2, 5)
local to_mapd = set(1, 3, 7)

local direct_commands = { [1] = "TSPEC_MAPD_DIRECT_AP_STATE_CMD" }
local status_commands = { [1] = "TSPEC_MAPD_STATUS_CMD" }
local operator_commands = {
    [1] = "TSPEC_CLI_PING_CMD", [2] = "TSPEC_CLI_DEBUG_CMD", [3] = "TSPEC_CLI_DEL_CLIENT_CMD",
    [4] = "TSPEC_CLI_DEL_TID_CMD", [5] = "TSPEC_CLI_DISASSOC_MODE_CMD",
    [6] = "TSPEC_CLI_SHOW_CMD",
}
local operator_titles = {
    [1] = "ping", [2] = "debug", [3] = "delete client", [4] = "delete stream",
    [5] = "disassociation mode", [6] = "show",
}
local levels = {
    [0] = "off", [1] = "info", [2] = "error", [3] = "hostapd", [4] = "mapd", [5] = "dman",
    [6] = "unused", [7] = "functions",
}
local results = { [0] = "accepted", [1] = "invalid parameters", [3] = "refused" }
local radios = { [1] = "wlan0", [2] = "wlan1" }
local categories = { [0] = "best-effort", [1] = "background", [2] = "video", [3] = "voice" }
local category_of_priority = { [0] = 0, [1] = 1, [2] = 1, [3] = 0, [4] = 2, [5] = 2, [6] = 3, [7] = 3 }
local directions = { [0] = "uplink", [1] = "downlink", [2] = "direct link", [3] = "bidirectional" }
local modes = { [0] = "not managed", [1] = "managed" }
local switches = { [0] = "off", [1] = "on" }
local states = { [0] = "down", [1] = "up" }

---- fields ----------------------------------------------------------------------

local F = {}
local all_fields = {}

local function define(key, make, abbreviation, ...)
    local name = abbreviation:gsub("^.*%.", "")
    F[key] = make("tspec." .. abbreviation, name, ...)
    table.insert(all_fields, F[key])
end

local function define_numbers(make, base_of, names, values)
    for name in names:gmatch("%S+") do
        define(name, make, name, base_of, values)
    end
end

define("msg_type", ProtoField.uint8, "msg_type", base.HEX, types)
define("marker", ProtoField.uint8, "marker", base.HEX, types)
define("cmd", ProtoField.uint8, "cmd", base.DEC, commands)
define("direct_cmd", ProtoField.uint8, "cmd", base.DEC, direct_commands)
define("status_cmd", ProtoField.uint8, "cmd", base.DEC, status_commands)
for _, name in ipairs({ "peer_addr1", "peer_addr2", "sta_addr", "sta_mac", "aux_addr" }) do
    define(name, ProtoField.ether, name)
end
define("ssid", ProtoField.string, "ssid")
define_numbers(ProtoField.uint8, base.DEC, "radio_unit radio_if", radios)
define_numbers(ProtoField.uint8, base.DEC,
    "vap tid aux_byte aux_flag length oui_type oui_subtype version count all")
define_numbers(ProtoField.uint8, base.DEC, "ac_idx prev_ac_index", categories)
define("element_id", ProtoField.uint8, "element_id", base.DEC)
define("oui", ProtoField.bytes, "oui", base.COLON)
define("ts_info", ProtoField.bytes, "ts_info", base.SPACE)
define("ts_info.tid", ProtoField.uint8, "ts_info.tid", base.DEC, nil, 0x1e)
define("ts_info.direction", ProtoField.uint8, "ts_info.direction", base.DEC, directions, 0x60)
define("ts_info.user_priority", ProtoField.uint8, "ts_info.user_priority", base.DEC, nil, 0x38)
define("access_category", ProtoField.uint8, "access_category", base.DEC, categories)
define_numbers(ProtoField.uint16, base.DEC,
    "nominal_msdu_size max_msdu_size surplus_bandwidth_allowance medium_time prev_medium_time")
define("query_nominal_msdu_size", ProtoField.uint32, "nominal_msdu_size", base.DEC)
define_numbers(ProtoField.uint32, base.DEC,
    "min_service_interval max_service_interval inactivity_interval suspension_interval " ..
    "service_start_time min_data_rate mean_data_rate peak_data_rate burst_size delay_bound " ..
    "min_phy_rate inactivity_timeout wlan_util reply_port duration interval num_active " ..
    "num_clients num_roam_clients tot_accepted tot_rejected tot_roam_accepted tot_roam_rejected " ..
    "limit_be limit_bk limit_vo limit_vi roam_reserve dl_inactivity_timeout " ..
    "ul_inactivity_timeout radio_param fbt_limit_vo fbt_limit_vi")
define_numbers(ProtoField.uint32, base.DEC, "tspec_enabled acm_be acm_bk acm_vo acm_vi", switches)
define("result_code", ProtoField.uint32, "result_code", base.DEC, results)
define("mapd_result_code", ProtoField.uint8, "result_code", base.DEC, results)
define("managed_mode", ProtoField.uint8, "managed_mode", base.DEC, modes)
for _, of in ipairs({ "radio", "vap" }) do
    define(of .. ".oper_status", ProtoField.uint32, of .. ".oper_status", base.DEC, states)
    for name in ("num_active num_clients num_roam_clients med_time_admitted med_time_unalloc " ..
        "med_time_roam_unalloc"):gmatch("%S+") do
        define(of .. "." .. name, ProtoField.uint32, of .. "." .. name, base.DEC)
    end
end
define("code", ProtoField.uint8, "code", base.DEC, operator_commands)
define("level", ProtoField.uint8, "level", base.DEC, levels)
define("mode", ProtoField.uint8, "mode", base.DEC)
define("text", ProtoField.string, "text")
define("unknown", ProtoField.bytes, "unknown")

-- The keys of dman's reports, with "_" for "-" in filters.
local function define_report_key(key, make)
    define(key, function(abbreviation) return make(abbreviation, key) end, key:gsub("-", "_"), nil)
end

for ac in ("vo vi be bk"):gmatch("%S+") do
    define_report_key("ts-" .. ac .. "-oper-status", ProtoField.string)
    for name in ("num-active num-clients num-roam-clients med-time-admitted med-time-unalloc " ..
        "med-time-roam-unalloc"):gmatch("%S+") do
        define_report_key("ts-" .. ac .. "-" .. name, ProtoField.int32)
    end
    for name in ("accepted rejected roam-accepted roam-rejected"):gmatch("%S+") do
        define_report_key("tspec-" .. ac .. "-tot-" .. name, ProtoField.int32)
    end
end
for name in ("station-mac interface ts-ac ts-direction"):gmatch("%S+") do
    define_report_key(name, ProtoField.string)
end
for name in ("ts-tid ts-user-priority ts-medium-time ts-excess-usage-events"):gmatch("%S+") do
    define_report_key(name, ProtoField.int32)
end
local is_number = {}
for _, name in ipairs({ "num", "med", "tot", "tid", "user", "medium", "excess" }) do
    is_number[name] = true
end

tspec.fields = all_fields

---- expert information ------------------------------------------------------------

local E = {}

local function define_expert(name, text, group, severity)
    E[name] = ProtoExpert.new("tspec." .. name, text, group, severity)
end

define_expert("bad_length", "Length is not that of the structure", expert.group.MALFORMED,
    expert.severity.ERROR)
define_expert("bytes_ignored", "Bytes after the structure are ignored", expert.group.PROTOCOL,
    expert.severity.NOTE)
define_expert("empty", "Empty datagram", expert.group.MALFORMED, expert.severity.ERROR)
define_expert("unknown_type", "Unknown type byte", expert.group.UNDECODED, expert.severity.WARN)
define_expert("unknown_cmd", "Unknown command", expert.group.UNDECODED, expert.severity.WARN)
define_expert("wrong_direction", "Command does not travel in this direction",
    expert.group.PROTOCOL, expert.severity.WARN)
define_expert("unknown_radio", "No such radio: the daemon drops the datagram",
    expert.group.PROTOCOL, expert.severity.WARN)
define_expert("unknown_code", "Unknown code", expert.group.PROTOCOL, expert.severity.WARN)
define_expert("unknown_text", "No such request, or no such line of a report",
    expert.group.UNDECODED, expert.severity.WARN)
define_expert("tid_differs", "TID differs from that of TS Info; this one counts",
    expert.group.PROTOCOL, expert.severity.NOTE)
define_expert("no_nominal_size", "A nominal MSDU size of 0 ends the daemon where admission is " ..
    "mandatory", expert.group.PROTOCOL, expert.severity.WARN)
define_expert("refused", "Stream not admitted", expert.group.RESPONSE_CODE, expert.severity.NOTE)

local experts = {}
for _, one in pairs(E) do
    table.insert(experts, one)
end
tspec.experts = experts

---- what stands behind a figure ---------------------------------------------------

local function unit(text)
    return function(item)
        item:append_text(" " .. text)
    end
end

local function medium_time(item, value)
    item:append_text(string.format(" (%.2f %% of the medium)", value * 100 / 31250))
end

local function frame_size(item, value)
    local bytes = value % 0x8000 + math.floor(value / 0x10000) * 0x10000
    local fixed = math.floor(value / 0x8000) % 2 == 1
    item:append_text(string.format(" (%d bytes%s)", bytes, fixed and ", fixed" or ""))
end

local function surplus(item, value)
    item:append_text(string.format(" (%.2f)", value / 8192))
end

local function known_radio(item, value)
    if not radios[value] then
        item:add_proto_expert_info(E.unknown_radio)
    end
end

local function known(codes)
    return function(item, value)
        if not codes[value] then
            item:add_proto_expert_info(E.unknown_code)
        end
    end
end

local function ts_info(item, _, range)
    item:add(F["ts_info.tid"], range(0, 1))
    item:add(F["ts_info.direction"], range(0, 1))
    item:add(F["ts_info.user_priority"], range(1, 1))
    local priority = range(1, 1):bitfield(2, 3)
    item:add(F.access_category, range(1, 1), category_of_priority[priority]):set_generated()
end

---- structures --------------------------------------------------------------------

-- A row: offset, size, field, and what else to say of it.
local function tspec_rows(base_offset, ts_info_at, rest_at)
    local rows = { { base_offset + ts_info_at, 3, "ts_info", ts_info } }
    local offset = base_offset + rest_at
    local function row(size, field, remark)
        table.insert(rows, { offset, size, field, remark })
        offset = offset + size
    end
    row(2, "nominal_msdu_size", frame_size)
    row(2, "max_msdu_size", unit("bytes"))
    for name in ("min_service_interval max_service_interval inactivity_interval " ..
        "suspension_interval service_start_time"):gmatch("%S+") do
        row(4, name, unit("us"))
    end
    for name in ("min_data_rate mean_data_rate peak_data_rate"):gmatch("%S+") do
        row(4, name, unit("bit/s"))
    end
    row(4, "burst_size", unit("bytes"))
    row(4, "delay_bound", unit("us"))
    row(4, "min_phy_rate", unit("bit/s"))
    row(2, "surplus_bandwidth_allowance", surplus)
    row(2, "medium_time", medium_time)
    return rows
end

local ELEMENT_AT, BODY_AT = 64, 56

local element_rows = {
    { 64, 1, "element_id" }, { 65, 1, "length" }, { 66, 3, "oui" }, { 69, 1, "oui_type" },
    { 70, 1, "oui_subtype" }, { 71, 1, "version" },
}
for _, row in ipairs(tspec_rows(ELEMENT_AT, 8, 12)) do
    table.insert(element_rows, row)
end

local hostapd = {
    name = "tspec_hostapd_msg_t", size = 148,
    { 0, 1, "msg_type" }, { 1, 1, "cmd" }, { 2, 6, "peer_addr1" }, { 8, 6, "peer_addr2" },
    { 14, 6, "sta_addr" }, { 20, 1, "radio_unit", known_radio }, { 21, 32, "ssid" },
    { 53, 1, "vap" }, { 56, 6, "sta_mac" },
    { ELEMENT_AT, 64, "tspec", rows = element_rows },
    { 128, 1, "aux_flag" }, { 132, 4, "result_code" }, { 136, 4, "inactivity_timeout", unit("us") },
    { 140, 1, "tid" }, { 141, 1, "aux_byte" }, { 142, 6, "aux_addr" },
}

local mapd = {
    name = "tspec_mapd_msg_t", size = 120,
    { 0, 1, "msg_type" }, { 1, 1, "cmd" }, { 2, 6, "peer_addr1" }, { 8, 6, "peer_addr2" },
    { 14, 6, "sta_mac" }, { 20, 1, "radio_unit", known_radio }, { 21, 32, "ssid" },
    { 53, 1, "ac_idx", known(categories) },
    { BODY_AT, 56, "tspec", rows = tspec_rows(BODY_AT, 1, 4) },
    { 112, 4, "wlan_util" }, { 116, 2, "prev_medium_time", medium_time },
    { 118, 1, "prev_ac_index", known(categories) }, { 119, 1, "mapd_result_code" },
}

local direct = {
    name = "tspec_mapd_direct_msg_t", size = 3,
    { 0, 1, "msg_type" }, { 1, 1, "direct_cmd" }, { 2, 1, "managed_mode", known(modes) },
}

local status = {
    name = "tspec_mapd_status_msg_t", size = 984,
    { 0, 1, "msg_type" }, { 1, 1, "status_cmd" }, { 2, 1, "ac_idx", known(categories) },
    { 4, 4, "num_active" }, { 8, 4, "num_clients" }, { 12, 4, "num_roam_clients" },
    { 16, 4, "tot_accepted" }, { 20, 4, "tot_rejected" }, { 24, 4, "tot_roam_accepted" },
    { 28, 4, "tot_roam_rejected" },
}

local function status_entry(of, offset, label)
    return {
        offset, 28, label, rows = {
            { offset, 4, of .. ".oper_status" }, { offset + 4, 4, of .. ".num_active" },
            { offset + 8, 4, of .. ".num_clients" }, { offset + 12, 4, of .. ".num_roam_clients" },
            { offset + 16, 4, of .. ".med_time_admitted", medium_time },
            { offset + 20, 4, of .. ".med_time_unalloc", medium_time },
            { offset + 24, 4, of .. ".med_time_roam_unalloc", medium_time },
        },
    }
end

for radio = 0, 1 do
    table.insert(status, status_entry("radio", 32 + 28 * radio,
        string.format("radio[%d]: wlan%d", radio, radio)))
end
for radio = 0, 1 do
    for vap = 0, 15 do
        table.insert(status, status_entry("vap", 88 + 28 * (16 * radio + vap),
            string.format("vap[%d][%d]: wlan%d VAP %d", radio, vap, radio, vap)))
    end
end

local config = {
    name = "tspec_dman_config_msg_t", size = 64, more_is_ignored = true,
    { 0, 1, "msg_type" }, { 1, 1, "radio_if", known_radio },
    { 4, 4, "tspec_enabled" }, { 8, 4, "acm_be" }, { 12, 4, "acm_bk" }, { 16, 4, "acm_vo" },
    { 20, 4, "acm_vi" }, { 24, 4, "limit_be", unit("%") }, { 28, 4, "limit_bk", unit("%") },
    { 32, 4, "limit_vo", unit("%") }, { 36, 4, "limit_vi", unit("%") },
    { 40, 4, "roam_reserve", unit("%") }, { 44, 4, "dl_inactivity_timeout", unit("s") },
    { 48, 4, "ul_inactivity_timeout", unit("s") }, { 52, 4, "radio_param" },
    { 56, 4, "fbt_limit_vo", unit("%") }, { 60, 4, "fbt_limit_vi", unit("%") },
}

local interval = {
    name = "tspec_dman_violation_interval_msg_t", size = 8, more_is_ignored = true,
    { 0, 1, "msg_type" }, { 4, 4, "interval", unit("s") },
}

local query = {
    name = "tspec_frame_dur_req_t", size = 28,
    { 0, 1, "marker" }, { 4, 4, "reply_port" }, { 8, 1, "radio_unit", known_radio },
    { 9, 6, "sta_mac" }, { 16, 4, "min_phy_rate", unit("bit/s") },
    { 20, 4, "query_nominal_msdu_size", frame_size }, { 24, 1, "vap" },
}

local answer = {
    name = "tspec_frame_dur_rsp_t", size = 8,
    { 0, 1, "marker" }, { 4, 4, "duration", unit("us") },
}

---- showing a structure -------------------------------------------------------------

local function add_field(tree, row, range)
    local _, size, key, remark = table.unpack(row)
    local field = F[key]
    local item, value
    if key == "ssid" then
        item = tree:add(field, range, range:raw():match("^%Z*"))
    elseif big_endian() or size > 4 or size == 1 then
        item = tree:add(field, range)
    else
        item = tree:add_le(field, range)
    end
    if size <= 4 then
        value = number(range)
    end
    if remark then
        remark(item, value, range)
    end
    return item
end

-- Shows what is there of a structure; yields the items of its fields by name.
local function add_rows(tree, rows, tvb, items)
    for _, row in ipairs(rows) do
        local offset, size = row[1], row[2]
        if offset < tvb:len() then
            local here = tvb(offset, math.min(size, tvb:len() - offset))
            if row.rows then
                add_rows(tree:add(here, row[3]), row.rows, tvb, items)
            elseif here:len() == size then
                items[row[3]] = add_field(tree, row, here)
            end
        end
    end
end

local function check_length(structure, tvb, tree)
    local length = tvb:reported_len()
    if length > structure.size and structure.more_is_ignored then
        tree:add_proto_expert_info(E.bytes_ignored,
            string.format("%d bytes after %s are ignored", length - structure.size, structure.name))
    elseif length ~= structure.size then
        tree:add_proto_expert_info(E.bad_length,
            string.format("%d bytes instead of the %d of %s", length, structure.size,
                structure.name))
    end
end

local function show(structure, tvb, tree)
    local items = {}
    tree:append_text(", " .. structure.name)
    add_rows(tree, structure, tvb, items)
    check_length(structure, tvb, tree)
    return items
end

-- The number at an offset, none where the datagram is shorter.
local function at(tvb, offset, size)
    if offset + size > tvb:len() then
        return nil
    end
    return number(tvb(offset, size))
end

local function mac_at(tvb, offset)
    if offset + 6 > tvb:len() then
        return "?"
    end
    return (tvb(offset, 6):bytes():tohex(true):gsub("(..)", "%1:"):sub(1, -2))
end

---- the TSPEC as it is on the air -----------------------------------------------------

local WMM_TSPEC = "dd3d0050f2020201" -- element 221, 61 bytes, OUI 00:50:f2, type 2, subtype 2, version 1

-- Multi-byte fields of nominal_msdu_size and all after it, as 802.11 orders bytes.
local function little_endian(range)
    if not big_endian() then
        return range:bytes():tohex()
    end
    local sizes = { 2, 2, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 2, 2 }
    local offset, digits = 0, {}
    for _, size in ipairs(sizes) do
        for i = size - 1, 0, -1 do
            table.insert(digits, string.format("%02x", range(offset + i, 1):uint()))
        end
        offset = offset + size
    end
    return table.concat(digits)
end

local function hex(range)
    return range:bytes():tohex()
end

-- WMM action codes of the frames that carry a TSPEC.
local action_of_command = {
    [ADDTS_REQ] = 0, [ADDTS_RESP] = 1, [DELTS_REQ] = 2, [DELTS] = 2, [FBT_ADDTS] = 0,
}
local from_station = set(ADDTS_REQ, DELTS_REQ, FBT_ADDTS)

-- Wireshark has no dissector for an element by itself that a script may call, so
-- the element goes into the frame in which station and access point exchange it.
local function show_frame(frame, pinfo, tree)
    local action = action_of_command[frame.cmd]
    if not action or not tspec.prefs.rebuild_frame then
        return
    end
    local station, bssid = hex(frame.station), hex(frame.bssid)
    local receiver, sender = station, bssid
    if from_station[frame.cmd] then
        receiver, sender = bssid, station
    end
    local header = "d0000000" .. receiver .. sender .. bssid .. "0000"
    local body = string.format("11%02x%02x%02x", action, frame.token, frame.status)
    local bytes = ByteArray.new(header .. body .. frame.element)
    local rebuilt = bytes:tvb("802.11 frame")
    local below = tree:add(tspec, rebuilt(), "On the air, rebuilt from the TSPEC"):set_generated()
    local source, destination = pinfo.src, pinfo.dst
    pcall(Dissector.call, Dissector.get("wlan_withoutfcs"), rebuilt, pinfo, below)
    pinfo.src, pinfo.dst = source, destination
end

local function show_hostapd_frame(tvb, pinfo, tree)
    local header = tvb(ELEMENT_AT, 8)
    if hex(header):lower() ~= WMM_TSPEC then
        return
    end
    show_frame({
        cmd = tvb(1, 1):uint(), station = tvb(56, 6), bssid = tvb(8, 6), token = tvb(141, 1):uint(),
        status = number(tvb(132, 4)) % 256,
        element = hex(header) .. hex(tvb(ELEMENT_AT + 8, 3)) ..
            little_endian(tvb(ELEMENT_AT + 12, 52)),
    }, pinfo, tree)
end

local function show_mapd_frame(tvb, pinfo, tree)
    show_frame({
        cmd = tvb(1, 1):uint(), station = tvb(14, 6), bssid = tvb(8, 6), token = 0,
        status = tvb(119, 1):uint(),
        element = WMM_TSPEC .. hex(tvb(BODY_AT + 1, 3)) .. little_endian(tvb(BODY_AT + 4, 52)),
    }, pinfo, tree)
end

---- datagrams -----------------------------------------------------------------------

local function info(pinfo, text)
    pinfo.cols.protocol = "TSPEC"
    pinfo.cols.info = text
end

local function check_command(items, cmd, allowed)
    if not commands[cmd] then
        items.cmd:add_proto_expert_info(E.unknown_cmd, string.format("Unknown command %d", cmd))
    elseif not allowed[cmd] then
        items.cmd:add_proto_expert_info(E.wrong_direction)
    end
end

local function stream_text(tvb, tid, ts_info_at)
    local first, second = at(tvb, ts_info_at, 1), at(tvb, ts_info_at + 1, 1)
    if not second then
        return ""
    end
    local priority = math.floor(second / 8) % 8
    return string.format(", TID %s %s %s", tid or "?", categories[category_of_priority[priority]],
        directions[math.floor(first / 32) % 4])
end

local function decision_text(result, units)
    return string.format(", %s, medium time %s", results[result] or tostring(result), units)
end

local function show_hostapd(tvb, pinfo, tree, allowed)
    local items = show(hostapd, tvb, tree)
    local cmd, tid, result = at(tvb, 1, 1), at(tvb, 140, 1), at(tvb, 132, 4)
    if not cmd then
        return info(pinfo, "hostapd: cut after its type")
    end
    check_command(items, cmd, allowed)
    local complete = tvb:len() >= hostapd.size
    if complete then
        show_hostapd_frame(tvb, pinfo, tree)
        if cmd ~= STA_DISASSOC and tvb(72, 1):bitfield(3, 4) ~= tid then
            items.tid:add_proto_expert_info(E.tid_differs)
        end
        if cmd == ADDTS_REQ and at(tvb, 76, 2) == 0 then
            items.nominal_msdu_size:add_proto_expert_info(E.no_nominal_size)
        end
        if cmd == ADDTS_RESP and not results[result] then
            items.result_code:add_proto_expert_info(E.unknown_code)
        elseif cmd == ADDTS_RESP and result ~= 0 then
            items.result_code:add_proto_expert_info(E.refused)
        end
    end
    local text = string.format("%s  %s", titles[cmd] or "Unknown command " .. cmd, mac_at(tvb, 56))
    if cmd ~= STA_DISASSOC then
        text = text .. stream_text(tvb, tid, 72)
    end
    if complete and cmd == ADDTS_RESP then
        text = text .. decision_text(result, at(tvb, 126, 2))
    end
    info(pinfo, text)
end

local function show_mapd(tvb, pinfo, tree, allowed)
    local items = show(mapd, tvb, tree)
    local cmd = at(tvb, 1, 1)
    if not cmd then
        return info(pinfo, "mapd: cut after its type")
    end
    check_command(items, cmd, allowed)
    local text = string.format("%s  %s", titles[cmd] or "Unknown command " .. cmd, mac_at(tvb, 14))
    if tvb:len() >= mapd.size and cmd ~= UNAUTH_TRAFFIC then
        show_mapd_frame(tvb, pinfo, tree)
        text = text .. stream_text(tvb, tvb(57, 1):bitfield(3, 4), 57)
        if cmd == ADDTS_RESP then
            text = text .. decision_text(tvb(119, 1):uint(), at(tvb, 110, 2))
        else
            text = text .. ", medium time " .. at(tvb, 110, 2)
        end
    end
    info(pinfo, text)
end

local function show_direct(tvb, pinfo, tree)
    local items = show(direct, tvb, tree)
    local cmd, mode = at(tvb, 1, 1), at(tvb, 2, 1)
    if cmd and not direct_commands[cmd] then
        items.direct_cmd:add_proto_expert_info(E.unknown_cmd, string.format("Unknown command %d", cmd))
    end
    info(pinfo, "Access point state  " .. (mode and (modes[mode] or "unknown state " .. mode) or "cut"))
end

local function show_status(tvb, pinfo, tree)
    local items = show(status, tvb, tree)
    local cmd, ac = at(tvb, 1, 1), at(tvb, 2, 1)
    if cmd and not status_commands[cmd] then
        items.status_cmd:add_proto_expert_info(E.unknown_cmd, string.format("Unknown command %d", cmd))
    end
    info(pinfo, string.format("Status  %s, %s streams, medium time %s on wlan0, %s on wlan1",
        categories[ac] or "?", at(tvb, 4, 4) or "?", at(tvb, 48, 4) or "?", at(tvb, 76, 4) or "?"))
end

local function show_config(tvb, pinfo, tree)
    show(config, tvb, tree)
    local mandatory = {}
    local order = { { "voice", 16, 32 }, { "video", 20, 36 }, { "best-effort", 8, 24 },
        { "background", 12, 28 } }
    for _, category in ipairs(order) do
        local name, flag, limit = table.unpack(category)
        if (at(tvb, flag, 4) or 0) % 256 ~= 0 then
            table.insert(mandatory, string.format("%s %s %%", name, at(tvb, limit, 4) or "?"))
        end
    end
    info(pinfo, string.format("Configuration  %s, admission control %s, mandatory: %s",
        radios[at(tvb, 1, 1)] or "unknown radio", (at(tvb, 4, 4) or 0) % 256 ~= 0 and "on" or "off",
        #mandatory > 0 and table.concat(mandatory, ", ") or "none"))
end

local function show_interval(tvb, pinfo, tree)
    show(interval, tvb, tree)
    info(pinfo, string.format("Violation report interval  %s s", at(tvb, 4, 4) or "?"))
end

local function show_query(tvb, pinfo, tree)
    show(query, tvb, tree)
    info(pinfo, string.format("Frame-duration query  %s, %s bytes at %s bit/s", mac_at(tvb, 9),
        (at(tvb, 20, 4) or 0) % 0x8000, at(tvb, 16, 4) or "?"))
end

local function show_answer(tvb, pinfo, tree)
    local items = show(answer, tvb, tree)
    if at(tvb, 0, 1) ~= TYPE_FRAME_DURATION then
        items.marker:add_proto_expert_info(E.unknown_type, "Not an answer to the query: the daemon " ..
            "refuses the request")
    end
    info(pinfo, string.format("Frame duration  %s us", at(tvb, 4, 4) or "?"))
end

local function text_before_nul(range)
    return range:raw():match("^%Z*")
end

local request_patterns = {
    "^tspec%-ap%-stats$", "^tspec%-radio%-wlan[01]", "^tspec%-vap%-wlan[01]",
    "^tspec%-client%-ts%-first$", "^tspec%-client%-ts%-next$",
}

local function is_request(text)
    local vap = tonumber(text:match("^tspec%-vap%-wlan%dvap(%-?%d+)"))
    if vap and (vap < 0 or vap > 15) then
        return false
    end
    for _, pattern in ipairs(request_patterns) do
        if text:match(pattern) then
            return true
        end
    end
    return false
end

local function show_request(tvb, pinfo, tree)
    tree:add(F.msg_type, tvb(0, 1))
    local text = tvb:len() > 1 and text_before_nul(tvb(1)) or ""
    local item = tvb:len() > 1 and tree:add(F.text, tvb(1), text) or tree
    if not is_request(text) then
        item:add_proto_expert_info(E.unknown_text, "No such request: the daemon does not answer")
    end
    info(pinfo, "Status request  " .. text)
end

-- The daemon prints 32-bit numbers, and nothing else fits into their fields.
local function is_int32(text)
    local value = text:match("^%-?%d+$") and tonumber(text)
    return value and value >= -0x80000000 and value <= 0x7fffffff
end

local function add_line(tree, range, line)
    local key, value = line:match("^([^=]+)=(.*)$")
    local field = key and F[key]
    if not field then
        tree:add(F.text, range, line):add_proto_expert_info(E.unknown_text)
        return
    end
    local kind = key:match("^ts%-%l%l%-(%l+)") or key:match("^tspec%-%l%l%-(%l+)") or
        key:match("^ts%-(%l+)")
    if not is_number[kind] then
        tree:add(field, range, value)
    elseif is_int32(value) then
        tree:add(field, range, tonumber(value))
    else
        tree:add(F.text, range, line):add_proto_expert_info(E.unknown_text)
    end
end

local function show_report(tvb, pinfo, tree)
    local text = text_before_nul(tvb())
    if text == "end" then
        tree:add(F.text, tvb(), text)
        return info(pinfo, "End of the client streams")
    end
    local offset, lines = 0, 0
    for line, line_end in text:gmatch("([^\n]*)(\n?)") do
        if #line > 0 then
            add_line(tree, tvb(offset, #line), line)
            lines = lines + 1
        end
        offset = offset + #line + #line_end
    end
    local station = text:match("station%-mac=(%S+)")
    info(pinfo, station and "Client stream  " .. station or
        string.format("Statistics  %d figures", lines))
end

local function show_unknown(tvb, pinfo, tree)
    tree:add(F.msg_type, tvb(0, 1)):add_proto_expert_info(E.unknown_type)
    if tvb:len() > 1 then
        tree:add(F.unknown, tvb(1))
    end
    info(pinfo, string.format("Unknown type 0x%02x", tvb(0, 1):uint()))
end

---- who reads what --------------------------------------------------------------------

local to_daemon = {
    [TYPE_CONFIG] = show_config,
    [TYPE_STATUS_REQUEST] = show_request,
    [TYPE_HOSTAPD] = function(tvb, pinfo, tree) show_hostapd(tvb, pinfo, tree, from_hostapd) end,
    [TYPE_MAPD] = function(tvb, pinfo, tree) show_mapd(tvb, pinfo, tree, from_mapd) end,
    [TYPE_INTERVAL] = show_interval,
    [TYPE_DIRECT] = show_direct,
}

local to_hostapd_port = {
    [TYPE_PEER] = function(tvb, pinfo, tree) show_hostapd(tvb, pinfo, tree, to_hostapd) end,
    [TYPE_FRAME_DURATION] = show_query,
}

local to_mapd_port = {
    [TYPE_PEER] = function(tvb, pinfo, tree) show_mapd(tvb, pinfo, tree, to_mapd) end,
    [TYPE_STATUS] = show_status,
}

local function by_type(readers)
    return function(tvb, pinfo, tree)
        local reader = readers[tvb(0, 1):uint()] or show_unknown
        reader(tvb, pinfo, tree)
    end
end

local by_port = {
    [DAEMON_PORT] = by_type(to_daemon),
    [FRAME_DURATION_PORT] = show_answer,
    [HOSTAPD_PORT] = by_type(to_hostapd_port),
    [MAPD_PORT] = by_type(to_mapd_port),
    [DMAN_PORT] = show_report,
}

local function dissect(proto, read, tvb, pinfo, root)
    local tree = root:add(proto, tvb())
    if tvb:len() == 0 then
        tree:add_proto_expert_info(E.empty)
        info(pinfo, "Empty datagram")
    else
        read(tvb, pinfo, tree)
    end
    return tvb:len()
end

function tspec.dissector(tvb, pinfo, root)
    local read = by_port[pinfo.dst_port]
    if not read then
        return 0
    end
    return dissect(tspec, read, tvb, pinfo, root)
end

-- Local sockets have no addresses to show.
local function between(pinfo, source, destination)
    pinfo.cols.src, pinfo.cols.dst = source, destination
end

function tspec_dman.dissector(tvb, pinfo, root)
    between(pinfo, "dman", "daemon")
    return dissect(tspec_dman, by_type(to_daemon), tvb, pinfo, root)
end

local function show_levels(tvb, tree)
    tree:add(F.count, tvb(1, 1))
    for i = 1, tvb(1, 1):uint() do
        if 1 + i < tvb:len() then
            local item = tree:add(F.level, tvb(1 + i, 1))
            known(levels)(item, tvb(1 + i, 1):uint())
        end
    end
end

-- Arguments that were not sent count as 0, so a short command is no error.
local function show_command(tvb, pinfo, tree)
    local code = tvb(0, 1):uint()
    local item = tree:add(F.code, tvb(0, 1))
    local text = operator_titles[code]
    if not text then
        item:add_proto_expert_info(E.unknown_cmd, string.format("Unknown command %d", code))
        return info(pinfo, string.format("Operator: unknown command %d", code))
    end
    local arguments = tvb:len() - 1
    if (text == "delete client" or text == "delete stream") and arguments >= 6 then
        tree:add(F.sta_mac, tvb(1, 6))
        text = text .. "  " .. mac_at(tvb, 1)
    end
    if operator_titles[code] == "delete stream" and arguments >= 7 then
        tree:add(F.tid, tvb(7, 1))
        text = text .. ", TID " .. tvb(7, 1):uint()
    elseif text == "debug" and arguments >= 1 then
        show_levels(tvb, tree)
    elseif text == "disassociation mode" and arguments >= 1 then
        tree:add(F.mode, tvb(1, 1))
    elseif text == "show" and arguments >= 1 then
        tree:add(F.all, tvb(1, 1))
    end
    info(pinfo, "Operator: " .. text)
end

function tspec_cli.dissector(tvb, pinfo, root)
    between(pinfo, "operator", "daemon")
    return dissect(tspec_cli, show_command, tvb, pinfo, root)
end

local function show_reply(tvb, pinfo, tree)
    local text = tvb():raw()
    local item = tree:add(F.text, tvb(), text)
    if text ~= "PONG" then
        item:add_proto_expert_info(E.unknown_text, "Not the answer to a ping")
    end
    info(pinfo, "Answer to the operator: " .. text)
end

function tspec_cli_reply.dissector(tvb, pinfo, root)
    between(pinfo, "daemon", "operator")
    return dissect(tspec_cli_reply, show_reply, tvb, pinfo, root)
end

local udp_ports = DissectorTable.get("udp.port")
for port in pairs(by_port) do
    udp_ports:add(port, tspec)
end
