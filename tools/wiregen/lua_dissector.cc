// Prints the dissector: a head (the protocol, its port preference and its fixed
// fields), the generated part (fields, code names, message tables), then the runtime.
#include "lua_dissector.h"

#include <stdio.h>

#include "protocol/login_message.h"
#include "protocol/wire_text.h"
#include "wire_words.h"

namespace camrcd {
namespace {

// A Lua string literal of text.
std::string quoted(const char* text) {
  std::string out = "\"";
  for (const unsigned char* p = reinterpret_cast<const unsigned char*>(text); *p != 0; ++p) {
    if (*p == '"' || *p == '\\') {
      out += '\\';
      out += static_cast<char>(*p);
    } else if (*p < 0x20 || *p >= 0x7F) {
      char escaped[8];
      snprintf(escaped, sizeof escaped, "\\%03u", *p);
      out += escaped;
    } else {
      out += static_cast<char>(*p);
    }
  }
  return out + "\"";
}

std::string number(unsigned value) {
  return std::to_string(value);
}

// {[2] = "on", [1] = "off"}: the first name of each code.
std::string value_names(const CodeName* codes) {
  std::string out = "{";
  for (const CodeName* code = codes; code->name != nullptr; ++code) {
    if (code_name(codes, code->code) == code->name)
      out += "[" + number(code->code) + "] = " + quoted(code->name) + ", ";
  }
  return out + "}";
}

// The kind a field has wherever a message carries it (numbers, texts or bytes).
const char* proto_field_type(Field field) {
  for (size_t m = 0; m < kMessageCount; ++m) {
    const MessageTable& table = message(static_cast<MessageId>(m));
    if (const WireRow* row = find_row(table, field)) {
      switch (row->kind) {
        case WireKind::kText:
        case WireKind::kMacReversed:
        case WireKind::kVersion:
          return "string";
        case WireKind::kBlock:
          return "bytes";
        default:
          return "uint32";
      }
    }
  }
  return nullptr;
}

std::string fields_part() {
  std::string out =
      "-- One field per protocol field (a name several messages carry is one field).\n";
  std::string list;
  for (size_t i = 1; i < kFieldCount; ++i) {
    Field field = static_cast<Field>(i);
    const FieldText& info = field_text(field);
    const char* type = proto_field_type(field);
    if (type == nullptr || find_field_named(info.name) != field)
      continue;  // carried by no message, or named already
    std::string label = quoted((std::string(info.name) + ": " + info.meaning).c_str());
    std::string line = "f." + std::string(info.name) + " = ProtoField." + type + "(" +
                       quoted(("camrcd." + std::string(info.name)).c_str()) + ", " + label;
    if (info.codes != nullptr)
      line += ", base.DEC, " + value_names(info.codes);
    else if (field == Field::kReloadGroups)
      line += ", base.HEX";
    out += line + ")\n";
    list += "f." + std::string(info.name) + ", ";
  }
  return out + "local protocol_fields = {" + list + "}\n\n";
}

// {offset, width, kind, field, presence, rule, key}
std::string row_part(const WireRow& row) {
  const char* key = key_id(field_layout_key(row.field));
  std::string field =
      row.field == Field::kNone ? "\"reserved\"" : quoted(field_text(row.field).name);
  return "{" + number(row.offset) + ", " + number(row.width) + ", " +
         quoted(kind_words(row.kind).id) + ", " + field + ", " +
         quoted(presence_words(row.presence).id) + ", " + quoted(rule_words(row.rule).id) + ", " +
         (key != nullptr ? quoted(key) : "nil") + "}";
}

std::string message_part(const MessageTable& table) {
  std::string out = "  {name = " + quoted(message_text(table.id).title) +
                    ", class = " + number(table.command_class) + ", sub = " + number(table.sub);
  const WireRow* length = find_row(table, Field::kMotionMapLength);
  if (table.request && length != nullptr)
    out += ", length_at = " + number(length->offset);
  if (table.id == MessageId::kReloadRequest)
    out += ", reload = true";
  out += ", rows = {\n";
  for (size_t i = 0; i < table.row_count; ++i)
    out += "    " + row_part(table.rows[i]) + ",\n";
  return out + "  }},\n";
}

std::string messages_part() {
  std::string requests = "local requests = {\n", replies = "local replies = {\n";
  append_by_direction(message_part, &requests, &replies);
  std::string classes = "local classes = {";
  for (const CommandClass& command_class : kCommandClasses)
    classes += "[" + number(command_class.value) + "] = " + quoted(command_class.name) + ", ";
  std::string groups = "local reload_groups = {";
  for (const ReloadGroup& group : kReloadGroups)
    groups += "{" + number(group.bit) + ", " + quoted(group.name) + "}, ";
  std::string statuses = "local login_statuses = {";
  for (const LoginStatus& status : kLoginStatuses)
    statuses +=
        "[" + number(status.type * 256 + status.status) + "] = " + quoted(status.reason) + ", ";
  return requests + "}\n" + replies + "}\n" + classes + "}\n" + groups + "}\n" + statuses + "}\n";
}

std::string constants_part() {
  return "local HEADER = " + number(kRequestHeaderSize) +
         "\nlocal BUFFER = " + number(kConnectionBufferSize) +
         "\nlocal LOGIN = " + number(kAuthMessageSize) +
         "\nlocal VERDICT = " + number(kAuthVerdictSize) +
         "\nlocal LOGIN_BODY = " + number(kAuthBodyLength) +
         "\nlocal PREFIX = " + number(kRequestPrefix) +
         "\nlocal REPLY_CLASS = " + number(kReplyClassValue) +
         "\nlocal GREETING = " + quoted(std::string(kGreeting, sizeof kGreeting).c_str()) + "\n\n";
}

const char kHead[] =
    R"lua(-- Wireshark dissector for the camrcd control protocol, generated by wiregen from the
-- protocol tables of camrcd. Do not edit: change the tables and build again.
--
-- Decodes the greeting, the login exchange, every request and reply with their named
-- fields and the motion payload, reassembling messages that TCP splits over segments.
-- A malformed message (bad prefix, short header, a declared length beyond the buffer
-- or the captured bytes, a layout its length does not fit) is marked with the expert
-- field camrcd.malformed. The port is 9001 unless the preference says otherwise.
local proto = Proto("camrcd", "camrcd control protocol")
proto.prefs.port = Pref.uint("Control port", 9001, "The TCP port of the control service")

local f = {}
f.message = ProtoField.string("camrcd.message", "Message")
f.greeting = ProtoField.string("camrcd.greeting", "Greeting")
f.prefix = ProtoField.uint16("camrcd.prefix", "Prefix", base.HEX)
f.class = ProtoField.uint8("camrcd.class", "Command class", base.HEX)
f.sub = ProtoField.uint8("camrcd.sub", "Sub-command", base.HEX)
f.payload_length = ProtoField.uint16("camrcd.payload_length", "Payload length")
f.parameter = ProtoField.uint16("camrcd.parameter", "Parameter")
f.trailer = ProtoField.bytes("camrcd.trailer", "Trailer")
f.reserved = ProtoField.bytes("camrcd.reserved", "Reserved")
f.login_type = ProtoField.uint16("camrcd.login.type", "Login message type")
f.login_length = ProtoField.uint16("camrcd.login.length", "Login body length")
f.login_status = ProtoField.uint32("camrcd.login.status", "Login status")
f.login_nonce = ProtoField.bytes("camrcd.login.nonce", "Nonce")
f.login_user = ProtoField.string("camrcd.login.user", "User name")
f.login_data = ProtoField.bytes("camrcd.login.data", "Sealed block")
local malformed = ProtoExpert.new("camrcd.malformed", "Malformed camrcd message",
                                  expert.group.MALFORMED, expert.severity.ERROR)
local ignored = ProtoExpert.new("camrcd.ignored", "The server ignores this request",
                                expert.group.PROTOCOL, expert.severity.WARN)

)lua";

const char kRuntime[] = R"lua(
for _, field in pairs({f.message, f.greeting, f.prefix, f.class, f.sub, f.payload_length,
                       f.parameter, f.trailer, f.reserved, f.login_type, f.login_length,
                       f.login_status, f.login_nonce, f.login_user, f.login_data}) do
  table.insert(protocol_fields, field)
end
proto.fields = protocol_fields
proto.experts = {malformed, ignored}

-- The layout walk: which rows stand, which hold their value, and what the layout
-- keys say, as the server and the client read them.
local function type_is(ctx, t) return ctx.device_type == -1 or ctx.device_type == t end
local function type_is_not(ctx, t) return ctx.device_type == -1 or ctx.device_type ~= t end

local function stands(presence, ctx)
  if presence == "always" or presence == "zero_without_map" then return true end
  if presence == "fixed_camera" then return type_is(ctx, 1) end
  if presence == "not_fixed_camera" then return type_is_not(ctx, 1) end
  if presence == "pan_tilt" then return type_is(ctx, 2) end
  if presence == "not_pan_tilt" then return type_is_not(ctx, 2) end
  if presence == "privacy_area" then return type_is_not(ctx, 2) and ctx.areas > 0 end
  if presence == "with_map" then return ctx.map_sent end
  if presence == "preset_set" then return ctx.preset_set end
  return false
end

local function sent(presence, ctx)
  if presence == "zero_without_map" then return ctx.map_sent end
  return stands(presence, ctx)
end

local function row_width(row, ctx)
  if row[3] ~= "more_areas" then return row[2] end
  if ctx.areas > 1 then return row[2] * (ctx.areas - 1) end
  return 0
end

local function number_at(tvb, at, kind)
  if kind == "byte" then return tvb(at, 1):uint() end
  if kind == "le16" then return tvb(at, 2):le_uint() end
  if kind == "le32" then return tvb(at, 4):le_uint() end
  if kind == "be16" then return tvb(at, 2):uint() end
  if kind == "version" then return tvb(at + 1, 1):uint() * 256 + tvb(at, 1):uint() end
  return 0
end

local function learn(key, value, ctx)
  if key == "device_type" then ctx.device_type = value
  elseif key == "layout_major" then
    if math.floor(value / 256) == 0 then ctx.device_type = 1 else ctx.device_type = 2 end
  elseif key == "area_count" then ctx.areas = value
  elseif key == "map_valid" then ctx.map_sent = value ~= 0
  elseif key == "preset_operation" then ctx.preset_set = value == 0
  elseif key == "request_version" then ctx.version_major = math.floor(value / 256)
  end
end

local function group_names(bits)
  local names = {}
  for _, group in ipairs(reload_groups) do
    if math.floor(bits / group[1]) % 2 == 1 then table.insert(names, group[2]) end
  end
  return table.concat(names, ", ")
end

-- The text of a zero-padded field (all of it when it has no zero byte).
local function text_of(range)
  local text = range:raw()
  local zero = text:find("\0", 1, true)
  if zero then text = text:sub(1, zero - 1) end
  return text
end

local function add_row(tree, tvb, at, width, row)
  local kind, field = row[3], f[row[4]]
  local range = tvb(at, width)
  if kind == "text" then
    tree:add(field, range, text_of(range))
  elseif kind == "mac" then
    local b = {}
    for i = 5, 0, -1 do table.insert(b, string.format("%02x", tvb(at + i, 1):uint())) end
    tree:add(field, range, table.concat(b, ":"))
  elseif kind == "version" then
    tree:add(field, range, string.format("%d.%02d", tvb(at + 1, 1):uint(), tvb(at, 1):uint()))
  elseif kind == "block" or kind == "reserved" or kind == "more_areas" then
    tree:add(field, range)
  else
    local value = number_at(tvb, at, kind)
    local item = tree:add(field, range, value)
    if row[6] == "nz" and value == 0 then item:append_text(" (unchanged)") end
    if row[4] == "reload_groups" then item:append_text(" (" .. group_names(value) .. ")") end
  end
end

-- Adds the rows that stand in the layout; the end of the rows sent, or nil when a row
-- lies beyond `limit`.
local function walk(tree, tvb, base, limit, entry, ctx)
  local finish = HEADER
  for _, row in ipairs(entry.rows) do
    if stands(row[5], ctx) then
      local width = row_width(row, ctx)
      if row[1] + width > limit then return nil end
      if width > 0 then add_row(tree, tvb, base + row[1], width, row) end
      if row[7] then learn(row[7], number_at(tvb, base + row[1], row[3]), ctx) end
      if sent(row[5], ctx) and row[1] + width > finish then finish = row[1] + width end
    end
  end
  return finish
end

local function new_context()
  return {device_type = -1, areas = 0, map_sent = false, preset_set = true, version_major = 0}
end

local function find_request(class, sub)
  local known_class = false
  local reload
  for _, entry in ipairs(requests) do
    if entry.reload then
      reload = entry
    elseif entry.class == class then
      known_class = true
      if entry.sub == sub then return entry end
    end
  end
  if not known_class then return reload end
end

local function find_reply(sub)
  for _, entry in ipairs(replies) do
    if entry.sub == sub then return entry end
  end
end

local function is_reply_header(tvb, offset, available)
  return available >= 7 and tvb(offset + 4, 2):uint() == PREFIX and
         tvb(offset + 6, 1):uint() == REPLY_CLASS
end

-- What the next message of a direction is and how long: its kind, its length, a
-- problem that makes it malformed, and the message count it stands at.
local function frame(tvb, offset, available, to_server, index)
  if to_server then
    local request = available >= 2 and tvb(offset, 2):uint() == PREFIX
    if index < 2 and not request then return "login", LOGIN, nil, index end
    if index < 2 then index = 2 end
    if available < HEADER then return "request", HEADER, nil, index end
    if not request then return "request", HEADER, "bad prefix: the server drops these 32 bytes", index end
    local entry = find_request(tvb(offset + 2, 1):uint(), tvb(offset + 3, 1):uint())
    if entry and entry.length_at then
      return "request", HEADER + tvb(offset + entry.length_at, 2):le_uint(), nil, index
    end
    return "request", HEADER, nil, index
  end
  if index < 3 and is_reply_header(tvb, offset, available) then index = 3 end
  if index == 0 then return "greeting", #GREETING, nil, index end
  if index == 1 then return "answer", LOGIN, nil, index end
  if index == 2 then return "verdict", VERDICT, nil, index end
  if available < HEADER then return "reply", HEADER, nil, index end
  if not is_reply_header(tvb, offset, available) then
    return "reply", available, "not a reply header (77 33 10 at bytes 4-6)", index
  end
  local length = HEADER + tvb(offset, 2):le_uint()
  if length > BUFFER then
    return "reply", available, "declared length beyond the connection buffer", index
  end
  return "reply", length, nil, index
end

local function login_fields(tree, tvb, offset, length)
  tree:add_le(f.login_type, tvb(offset, 2))
  tree:add_le(f.login_length, tvb(offset + 2, 2))
  local status = tree:add_le(f.login_status, tvb(offset + 4, 4))
  if length > VERDICT then tree:add(f.login_nonce, tvb(offset + 8, 4)) end
  return status
end

local function dissect_login(kind, index, tvb, offset, length, tree)
  local status = login_fields(tree, tvb, offset, length)
  if kind == "login" and index == 0 then
    tree:add(f.login_user, tvb(offset + 12, LOGIN - 12), text_of(tvb(offset + 12, LOGIN - 12)))
    return "login opening"
  end
  if kind == "login" then
    tree:add(f.login_data, tvb(offset + 12, LOGIN - 12))
    if tvb(offset + 2, 2):le_uint() ~= LOGIN_BODY then return "login response", "length is not 260" end
    return "login response"
  end
  local reason = login_statuses[tvb(offset, 2):le_uint() * 256 + tvb(offset + 4, 4):le_uint()]
  if reason == nil then return "login " .. kind, "unknown type or status" end
  status:append_text(" (" .. reason .. ")")
  if kind == "answer" and tvb(offset + 4, 4):le_uint() == 0 then
    tree:add(f.login_data, tvb(offset + 12, LOGIN - 12))
    return "login challenge"
  end
  return "login " .. kind .. ": " .. reason
end

local function dissect_request(tvb, offset, length, tree)
  tree:add(f.prefix, tvb(offset, 2))
  local class, sub = tvb(offset + 2, 1):uint(), tvb(offset + 3, 1):uint()
  local entry = find_request(class, sub)
  if entry == nil then
    tree:add(f.class, tvb(offset + 2, 1)):append_text(" (" .. (classes[class] or "?") .. ")")
    tree:add(f.sub, tvb(offset + 3, 1))
    tree:add_proto_expert_info(ignored, "an unknown sub-command of a known class")
    return "unknown request"
  end
  if entry.class == class then
    tree:add(f.class, tvb(offset + 2, 1)):append_text(" (" .. classes[class] .. ")")
    tree:add(f.sub, tvb(offset + 3, 1))
  end
  if walk(tree, tvb, offset, length, entry, new_context()) == nil then
    return entry.name, "the payload is shorter than its rows"
  end
  if entry.length_at then
    local payload = length - HEADER
    if payload < 2 or tvb(offset + length - 2, 2):uint() ~= 0x55AA then
      return entry.name, "the payload does not end with 55 AA: the server ignores the map"
    end
    tree:add(f.trailer, tvb(offset + length - 2, 2))
  end
  return entry.name
end

local function dissect_reply(tvb, offset, length, tree)
  tree:add_le(f.payload_length, tvb(offset, 2))
  tree:add(f.prefix, tvb(offset + 4, 2))
  tree:add(f.class, tvb(offset + 6, 1))
  tree:add(f.sub, tvb(offset + 7, 1))
  tree:add_le(f.parameter, tvb(offset + 8, 2))
  local entry = find_reply(tvb(offset + 7, 1):uint())
  if entry == nil then return "reply", "unknown reply sub-command" end
  local limit = HEADER
  if length > HEADER then
    if length < HEADER + 2 or tvb(offset + length - 2, 2):uint() ~= 0x55AA then
      return entry.name, "the payload does not end with 55 AA"
    end
    limit = length - 2
  end
  local finish = walk(tree, tvb, offset, limit, entry, new_context())
  if finish ~= limit then return entry.name, "the length does not fit the layout" end
  if length > HEADER then tree:add(f.trailer, tvb(offset + length - 2, 2)) end
  return entry.name
end

local function dissect_one(kind, index, tvb, offset, length, tree, problem)
  local item = tree:add(proto, tvb(offset, length))
  local title
  if problem then
    title = kind
  elseif kind == "greeting" then
    item:add(f.greeting, tvb(offset, length), tvb(offset, length):string())
    title = "greeting"
    if tvb(offset, length):string() ~= GREETING then problem = "not the greeting 1000" end
  elseif kind == "request" then
    title, problem = dissect_request(tvb, offset, length, item)
  elseif kind == "reply" then
    title, problem = dissect_reply(tvb, offset, length, item)
  else
    title, problem = dissect_login(kind, index, tvb, offset, length, item)
  end
  item:add(f.message, title)
  item:append_text(": " .. title)
  if problem then item:add_proto_expert_info(malformed, problem) end
  return title
end

local tcp_stream = Field.new("tcp.stream")
local counts, frame_counts = {}, {}

function proto.init()
  counts, frame_counts = {}, {}
end

function proto.dissector(tvb, pinfo, tree)
  local to_server = pinfo.dst_port == proto.prefs.port
  local stream = tcp_stream()
  local key = tostring(stream and stream.value or 0) .. (to_server and ">" or "<")
  local frame_key = tostring(pinfo.number) .. key
  if frame_counts[frame_key] == nil then frame_counts[frame_key] = counts[key] or 0 end
  local index = frame_counts[frame_key]
  local offset, total, titles = 0, tvb:len(), {}
  pinfo.cols.protocol = "CAMRCD"
  -- All bytes count as taken, also when the rest waits for more segments.
  while offset < total do
    local available = total - offset
    local kind, length, problem
    kind, length, problem, index = frame(tvb, offset, available, to_server, index)
    if length > available and not problem then
      if pinfo.can_desegment > 0 then
        pinfo.desegment_offset = offset
        pinfo.desegment_len = length - available
        break
      end
      if length == HEADER or kind ~= "request" and kind ~= "reply" then
        problem = "short message: the capture holds fewer bytes than its header"
      else
        problem = "declared length beyond the captured bytes"
      end
    end
    if problem and length > available then length = available end
    table.insert(titles, dissect_one(kind, index, tvb, offset, length, tree, problem))
    offset = offset + length
    index = index + 1
  end
  if not pinfo.visited then counts[key] = index end
  if #titles > 0 then pinfo.cols.info = table.concat(titles, ", ") end
  return total
end

local registered_port
local function register_port()
  local tcp = DissectorTable.get("tcp.port")
  if registered_port then tcp:remove(registered_port, proto) end
  registered_port = proto.prefs.port
  tcp:add(registered_port, proto)
end
function proto.prefs_changed() register_port() end
register_port()
)lua";

}  // namespace

std::string lua_dissector() {
  return kHead + constants_part() + fields_part() + messages_part() + kRuntime;
}

}  // namespace camrcd
