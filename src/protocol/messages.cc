// The message tables, in MessageId order, and the layout walk's steps.
#include "protocol/messages.h"

namespace camrcd {
namespace {

using F = Field;
using P = Presence;
using K = WireKind;

constexpr WireRow row(uint16_t at, uint16_t width, WireKind kind, Field field) {
  return {at, width, kind, field, P::kAlways, CopyRule::kNone};
}
constexpr WireRow u8(uint16_t at, Field field) {
  return row(at, 1, K::kByte, field);
}
constexpr WireRow le16(uint16_t at, Field field) {
  return row(at, 2, K::kLe16, field);
}
constexpr WireRow le32(uint16_t at, Field field) {
  return row(at, 4, K::kLe32, field);
}
constexpr WireRow text(uint16_t at, uint16_t width, Field field) {
  return row(at, width, K::kText, field);
}
constexpr WireRow version(uint16_t at, Field field) {
  return row(at, 2, K::kVersion, field);
}
constexpr WireRow zero(uint16_t at, uint16_t width) {
  return row(at, width, K::kReserved, F::kNone);
}

constexpr uint8_t kAny = kEveryType;
constexpr MessageId kNoAnswer = MessageId::kCount;

constexpr WireRow kInfoRequestRows[] = {version(6, F::kClientVersion)};
constexpr WireRow kMotionReadRows[] = {
    version(6, F::kClientVersion),
    u8(8, F::kCurrentMd).with(CopyRule::kAreaOrFirst),
};
constexpr WireRow kAlarmLinkReadRows[] = {
    u8(8, F::kCurrentAlarmin).always(),
    u8(9, F::kCurrentAlarmout).always(),
};
constexpr WireRow kPresetReadRows[] = {
    version(6, F::kClientVersion),
    u8(8, F::kCurrentPreset).always(),
};
constexpr WireRow kVideoWriteRows[] = {
    u8(4, F::kVideoResolution).with(CopyRule::kResolution),
};
constexpr WireRow kMpegWriteRows[] = {
    u8(4, F::kMpegEnable).nz(),
    u8(5, F::kMpegGop).nz(),
    u8(6, F::kMpegCbr).nz(),
    u8(7, F::kMpegRate).nz(),
    le16(8, F::kMpegBitrate).with(CopyRule::kIfCbr),
};
constexpr WireRow kJpegWriteRows[] = {u8(4, F::kJpegEnable).nz(), u8(5, F::kJpegQuality).nz()};
constexpr WireRow kAutorunWriteRows[] = {
    u8(4, F::kAutopanDirection).nz(), u8(5, F::kAutopanSpeed).nz(), u8(6, F::kPoaEnable).nz(),
    u8(7, F::kPoaAct).nz(),           u8(8, F::kPoaActno).nz(),     u8(9, F::kAutorunEnable).nz(),
    u8(10, F::kAutorunWaittime).nz(), u8(11, F::kAutorunAct).nz(),  u8(12, F::kAutorunActno).nz(),
};
constexpr WireRow kStreamWriteRows[] = {
    u8(4, F::kVideoResolution).with(CopyRule::kResolution),
    u8(5, F::kMpegEnable).nz(),
    u8(6, F::kMpegGop).nz(),
    u8(7, F::kMpegCbr).nz(),
    u8(8, F::kMpegRate).nz(),
    le16(9, F::kMpegBitrate).with(CopyRule::kIfCbr),
    u8(11, F::kJpegEnable).nz(),
    u8(12, F::kJpegQuality).nz(),
};
constexpr P kArea = P::kNotFixedCamera;
constexpr WireRow kMotionWriteRows[] = {
    u8(4, F::kMotionMapValid).nz(),
    u8(5, F::kMotionFlags).nz(),
    le16(6, F::kMotionMapLength).always(),
    version(8, F::kPayloadVersion),
    u8(11, F::kMdMax).nz().when(kArea),
    u8(12, F::kCurrentMd).always().when(kArea),
    u8(13, F::kMdEnable).nz().when(kArea),
    u8(14, F::kMdAct).nz().when(kArea),
    u8(15, F::kMdActno).nz().when(kArea),
    u8(16, F::kMdRelay).nz().when(kArea),
    u8(17, F::kMdRecord).nz().when(kArea),
    u8(18, F::kMdEmail).nz().when(kArea),
    zero(19, 1).when(kArea),
    u8(20, F::kManualEnable).nz().when(kArea),
    u8(21, F::kManualThreshold).nz().when(kArea),
    u8(22, F::kManualSens).nz().when(kArea),
    row(32, kMotionBlockMapSize, K::kBlock, F::kMotionBlockMap),
};
constexpr WireRow kAlarmWriteRows[] = {
    u8(4, F::kAlarmIn).nz(),      u8(5, F::kAlarmInPolarity).nz(),  u8(6, F::kAlarmOut).nz(),
    u8(7, F::kAlarmOutMode).nz(), u8(8, F::kAlarmOutDuration).nz(),
};
constexpr WireRow kAlarmLinkWriteRows[] = {
    u8(6, F::kAlinAllen).nz(),        u8(7, F::kCurrentAlarmin).always(),
    u8(8, F::kAlarminEnable).nz(),    u8(9, F::kAlarminType).nz(),
    u8(10, F::kAlarminPriority).nz(), u8(11, F::kAlarminAct).nz(),
    u8(12, F::kAlarminActno).nz(),    u8(13, F::kAlarminRelay).nz(),
    u8(14, F::kAlarminRecord).nz(),   u8(15, F::kAlarminEmail).nz(),
    u8(16, F::kAloutAllen).nz(),      u8(17, F::kCurrentAlarmout).always(),
    u8(18, F::kAlarmoutEnable).nz(),  u8(19, F::kAlarmoutDwell).nz(),
    u8(20, F::kAlarmoutLinkage).nz(),
};
constexpr P kSet = P::kPresetSet;
constexpr WireRow kPresetWriteRows[] = {
    u8(6, F::kPresetOperation),
    u8(7, F::kHome).nz().when(kSet),
    u8(8, F::kMdFirst).nz().when(kSet),
    u8(9, F::kPresetmax).nz().when(kSet),
    u8(10, F::kPresetEnable).nz().when(kSet),
    u8(11, F::kCurrentPreset).always(),
    u8(12, F::kPresetDwell).nz().when(kSet),
    u8(13, F::kPresetGroup).nz().when(kSet),
    text(14, 10, F::kPresetName).always().when(kSet),
};
constexpr WireRow kOsdWriteRows[] = {
    u8(4, F::kOsdEnable).nz(), u8(5, F::kOsdColor).nz(),       u8(6, F::kOsdDisplayFlags).nz(),
    u8(7, F::kOsdExtra).nz(),  text(8, 20, F::kOsdTitle).nz(),
};
constexpr WireRow kTitleWriteRows[] = {text(4, 20, F::kCameraTitle).nz()};
constexpr WireRow kPrivacyWriteRows[] = {
    u8(4, F::kPrivacyEnable).nz(),    u8(5, F::kPrivacyColor).nz(), u8(6, F::kPrivacyAreas).nz(),
    le16(7, F::kPrivacyLeft).nz(),    le16(9, F::kPrivacyTop).nz(), le16(11, F::kPrivacyRight).nz(),
    le16(13, F::kPrivacyBottom).nz(),
};
constexpr WireRow kPictureWriteRows[] = {
    u8(4, F::kCamBrightness).nz(), u8(5, F::kCamContrast).nz(),   u8(6, F::kCamSharpness).nz(),
    u8(7, F::kCamHue).nz(),        u8(8, F::kCamSaturation).nz(),
};
constexpr WireRow kWhiteBalanceWriteRows[] = {u8(4, F::kCamWb).nz(), u8(5, F::kCamWbManual).nz(),
                                              u8(6, F::kCamBlc).nz()};
constexpr WireRow kCamcontrol2WriteRows[] = {
    u8(4, F::kCamMonochrome).nz(), u8(5, F::kCamNegative).nz(), u8(6, F::kCamColorbar).nz(),
    u8(7, F::kCamSensorup).nz()};
constexpr WireRow kReloadRows[] = {row(2, 2, K::kBe16, F::kReloadGroups)};

constexpr P kFixed = P::kFixedCamera;
constexpr P kPrivacy = P::kNotPanTilt;
constexpr P kAreaShown = P::kPrivacyArea;
constexpr P kAutorun = P::kPanTilt;
constexpr WireRow kInfoReplyRows[] = {
    u8(13, F::kDeviceType),  // first: what a client shows first
    version(11, F::kInfoLayoutVersion),
    zero(14, 1),
    row(32, 6, K::kMacReversed, F::kMacAddress),
    le16(38, F::kWebPort),
    le16(40, F::kConnectPort),
    zero(42, 2),
    le16(44, F::kControlPort),
    u8(46, F::kVideoType),
    u8(47, F::kVideoResolution),
    u8(48, F::kMpegEnable),
    u8(49, F::kMpegGop),
    u8(50, F::kMpegCbr),
    u8(51, F::kMpegRate),
    le32(52, F::kMpegBitrate),
    u8(56, F::kJpegEnable),
    u8(57, F::kJpegQuality),
    u8(58, F::kOsdEnable),
    u8(59, F::kOsdColor),
    u8(60, F::kOsdDisplayFlags),
    u8(61, F::kOsdExtra),
    text(62, 20, F::kOsdTitle),
    zero(82, 1),
    text(83, 20, F::kCameraTitle),
    zero(103, 1),
    u8(104, F::kAlarmIn).when(kFixed),
    u8(105, F::kAlarmInPolarity).when(kFixed),
    u8(106, F::kAlarmOut).when(kFixed),
    u8(107, F::kAlarmOutMode).when(kFixed),
    u8(108, F::kAlarmOutDuration).when(kFixed),
    zero(109, 1),
    u8(110, F::kCamBrightness),
    u8(111, F::kCamContrast),
    u8(112, F::kCamSharpness),
    u8(113, F::kCamHue),
    u8(114, F::kCamSaturation),
    zero(115, 3),
    u8(118, F::kCamWb),
    u8(119, F::kCamWbManual),
    u8(120, F::kCamBlc),
    zero(121, 1),
    u8(122, F::kCamMonochrome),
    u8(123, F::kCamNegative),
    u8(124, F::kCamColorbar),
    u8(125, F::kCamSensorup),
    zero(126, 2),
    u8(128, F::kPrivacyEnable).when(kPrivacy),
    u8(129, F::kPrivacyColor).when(kPrivacy),
    u8(130, F::kPrivacyAreas).when(kPrivacy),
    le16(131, F::kPrivacyLeft).when(kAreaShown),
    le16(133, F::kPrivacyTop).when(kAreaShown),
    le16(135, F::kPrivacyRight).when(kAreaShown),
    le16(137, F::kPrivacyBottom).when(kAreaShown),
    row(139, 8, K::kMoreAreas, F::kNone).when(kAreaShown),
    zero(128, 3).when(kAutorun),
    u8(131, F::kAutopanDirection).when(kAutorun),
    u8(132, F::kAutopanSpeed).when(kAutorun),
    u8(133, F::kPoaEnable).when(kAutorun),
    u8(134, F::kPoaAct).when(kAutorun),
    u8(135, F::kPoaActno).when(kAutorun),
    u8(136, F::kAutorunEnable).when(kAutorun),
    u8(137, F::kAutorunWaittime).when(kAutorun),
    u8(138, F::kAutorunAct).when(kAutorun),
    u8(139, F::kAutorunActno).when(kAutorun),
    zero(140, 1).when(kAutorun),
};
constexpr WireRow kMotionReplyRows[] = {
    u8(11, F::kMotionMapValid),
    u8(12, F::kMotionFlags),
    le16(13, F::kMotionMapLength).when(P::kZeroWithoutMap),
    version(15, F::kMotionLayoutVersion),
    u8(17, F::kMdMax).when(kArea),
    u8(18, F::kCurrentMd).when(kArea),
    u8(19, F::kMdEnable).when(kArea),
    u8(20, F::kMdAct).when(kArea),
    u8(21, F::kMdActno).when(kArea),
    u8(22, F::kMdRelay).when(kArea),
    u8(23, F::kMdRecord).when(kArea),
    u8(24, F::kMdEmail).when(kArea),
    zero(25, 1).when(kArea),
    u8(26, F::kManualEnable).when(kArea),
    u8(27, F::kManualThreshold).when(kArea),
    u8(28, F::kManualSens).when(kArea),
    row(32, kMotionBlockMapSize, K::kBlock, F::kMotionBlockMap).when(P::kWithMap),
};
constexpr WireRow kAlarmLinkReplyRows[] = {
    version(11, F::kLinkLayoutVersion),
    u8(13, F::kCurrentAlarmin),
    u8(14, F::kAlinMax),
    u8(15, F::kAlinAllen),
    u8(16, F::kAlarminEnable),
    u8(17, F::kAlarminType),
    u8(18, F::kAlarminPriority),
    u8(19, F::kAlarminAct),
    u8(20, F::kAlarminActno),
    u8(21, F::kAlarminRelay),
    u8(22, F::kAlarminRecord),
    u8(23, F::kAlarminEmail),
    u8(24, F::kCurrentAlarmout),
    u8(25, F::kAloutMax),
    u8(26, F::kAloutAllen),
    u8(27, F::kAlarmoutEnable),
    u8(28, F::kAlarmoutDwell),
    u8(29, F::kAlarmoutLinkage),
};
constexpr WireRow kPresetReplyRows[] = {
    version(11, F::kPresetLayoutVersion),
    u8(13, F::kHome),
    u8(14, F::kMdFirst),
    u8(15, F::kPresetmax),
    u8(16, F::kPresetEnable),
    u8(17, F::kCurrentPreset),
    u8(18, F::kPresetDwell),
    u8(19, F::kPresetGroup),
    text(20, 10, F::kPresetName),
};

// A message's rows; kNoRows for a message without fields.
struct RowList {
  const WireRow* rows;
  size_t count;
};
constexpr RowList kNoRows = {nullptr, 0};
template <size_t N>
constexpr RowList rows_of(const WireRow (&rows)[N]) {
  return {rows, N};
}

constexpr MessageTable request(MessageId id, uint8_t cls, uint8_t sub, uint8_t cameras,
                               RowList rows, MessageId answer = kNoAnswer, bool restarts = false) {
  return {id, true, cls, sub, cameras, answer, restarts, rows.rows, rows.count};
}

constexpr MessageTable reply(MessageId id, uint8_t sub, uint8_t cameras, RowList rows) {
  return {id, false, kReplyClassValue, sub, cameras, kNoAnswer, false, rows.rows, rows.count};
}

using M = MessageId;
constexpr uint8_t kInfo = kClassInformation;
constexpr uint8_t kStream = kClassStream;
constexpr uint8_t kEvent = kClassEvent;
constexpr uint8_t kOverlay = kClassOverlay;
constexpr uint8_t kCamera = kClassCamera;

constexpr MessageTable kMessages[] = {
    request(M::kInfoRequest, kInfo, 0x00, kAny, rows_of(kInfoRequestRows), M::kInfoReply),
    request(M::kMotionRead, kInfo, 0x10, kAny, rows_of(kMotionReadRows), M::kMotionReply),
    request(M::kAlarmLinkRead, kInfo, 0x20, kPanTiltType, rows_of(kAlarmLinkReadRows),
            M::kAlarmLinkReply),
    request(M::kPresetRead, kInfo, 0x30, kPanTiltType, rows_of(kPresetReadRows), M::kPresetReply),
    request(M::kCloseRequest, kInfo, 0xF0, kAny, kNoRows, M::kCloseReply),
    request(M::kVideoWrite, kStream, 0x00, kAny, rows_of(kVideoWriteRows), kNoAnswer, true),
    request(M::kMpegWrite, kStream, 0x10, kAny, rows_of(kMpegWriteRows), kNoAnswer, true),
    request(M::kJpegWrite, kStream, 0x20, kAny, rows_of(kJpegWriteRows), kNoAnswer, true),
    request(M::kAutorunWrite, kStream, 0x40, kPanTiltType, rows_of(kAutorunWriteRows)),
    request(M::kStreamWrite, kStream, 0xF0, kAny, rows_of(kStreamWriteRows), kNoAnswer, true),
    request(M::kMotionWrite, kEvent, 0x00, kAny, rows_of(kMotionWriteRows)),
    request(M::kAlarmWrite, kEvent, 0x10, kFixedCameraType, rows_of(kAlarmWriteRows)),
    request(M::kAlarmLinkWrite, kEvent, 0x11, kPanTiltType, rows_of(kAlarmLinkWriteRows)),
    request(M::kPresetWrite, kEvent, 0x20, kPanTiltType, rows_of(kPresetWriteRows)),
    request(M::kOsdWrite, kOverlay, 0x00, kAny, rows_of(kOsdWriteRows)),
    request(M::kTitleWrite, kOverlay, 0x10, kAny, rows_of(kTitleWriteRows)),
    request(M::kPrivacyWrite, kOverlay, 0x20, kFixedCameraType, rows_of(kPrivacyWriteRows)),
    request(M::kPictureWrite, kCamera, 0x00, kAny, rows_of(kPictureWriteRows)),
    request(M::kWhiteBalanceWrite, kCamera, 0x10, kAny, rows_of(kWhiteBalanceWriteRows)),
    request(M::kCamcontrol2Write, kCamera, 0x20, kAny, rows_of(kCamcontrol2WriteRows)),
    request(M::kReloadRequest, 0, 0, kAny, rows_of(kReloadRows), M::kInfoReply),
    reply(M::kInfoReply, 0x01, kAny, rows_of(kInfoReplyRows)),
    reply(M::kMotionReply, 0x11, kAny, rows_of(kMotionReplyRows)),
    reply(M::kAlarmLinkReply, 0x21, kPanTiltType, rows_of(kAlarmLinkReplyRows)),
    reply(M::kPresetReply, 0x31, kPanTiltType, rows_of(kPresetReplyRows)),
    reply(M::kCloseReply, 0xF1, kAny, kNoRows),
};
static_assert(sizeof kMessages / sizeof kMessages[0] == kMessageCount, "one entry per message");
static_assert(in_id_order(kMessages), "entries in MessageId order");

bool type_is(const LayoutContext& context, int type) {
  return context.device_type == kUnknownDeviceType || context.device_type == type;
}

bool type_is_not(const LayoutContext& context, int type) {
  return context.device_type == kUnknownDeviceType || context.device_type != type;
}

}  // namespace

const MessageTable& message(MessageId id) {
  size_t index = static_cast<size_t>(id);
  return kMessages[index < kMessageCount ? index : 0];
}

const MessageTable* find_request(uint8_t command_class, uint8_t sub) {
  bool known_class = false;
  for (size_t i = 0; i < kRequestCount; i++) {
    const MessageTable& table = kMessages[i];
    if (table.id == M::kReloadRequest || table.command_class != command_class)
      continue;
    known_class = true;
    if (table.sub == sub)
      return &table;
  }
  return known_class ? nullptr : &message(M::kReloadRequest);
}

const MessageTable* find_reply(uint8_t sub) {
  for (size_t i = kRequestCount; i < kMessageCount; i++) {
    if (kMessages[i].sub == sub)
      return &kMessages[i];
  }
  return nullptr;
}

const WireRow* find_row(const MessageTable& table, Field field) {
  for (size_t i = 0; i < table.row_count; i++) {
    if (table.rows[i].field == field)
      return &table.rows[i];
  }
  return nullptr;
}

bool row_stands(const WireRow& row, const LayoutContext& context) {
  switch (row.presence) {
    case P::kAlways:
    case P::kZeroWithoutMap:
      return true;
    case P::kFixedCamera:
      return type_is(context, 1);
    case P::kNotFixedCamera:
      return type_is_not(context, 1);
    case P::kPanTilt:
      return type_is(context, 2);
    case P::kNotPanTilt:
      return type_is_not(context, 2);
    case P::kPrivacyArea:
      return type_is_not(context, 2) && context.areas > 0;
    case P::kWithMap:
      return context.map_sent;
    case P::kPresetSet:
      return context.preset_set;
  }
  return false;
}

bool row_sent(const WireRow& row, const LayoutContext& context) {
  if (row.presence == P::kZeroWithoutMap)
    return context.map_sent;
  return row_stands(row, context);
}

size_t row_width(const WireRow& row, const LayoutContext& context) {
  if (row.kind != K::kMoreAreas)
    return row.width;
  return context.areas > 1 ? row.width * (context.areas - 1) : 0;
}

uint32_t row_number(const WireRow& row, const uint8_t* message) {
  const uint8_t* at = message + row.offset;
  switch (row.kind) {
    case K::kByte:
      return at[0];
    case K::kLe16:
      return read_le16(at);
    case K::kLe32:
      return read_le32(at);
    case K::kBe16:
    case K::kVersion:
      return row.kind == K::kBe16 ? static_cast<uint32_t>(at[0] << 8 | at[1])
                                  : static_cast<uint32_t>(at[1] << 8 | at[0]);
    default:
      return 0;
  }
}

void layout_learn(const WireRow& row, const uint8_t* message, LayoutContext* context) {
  LayoutKey key = field_layout_key(row.field);
  if (key == LayoutKey::kNone)
    return;
  uint32_t value = row_number(row, message);
  switch (key) {
    case LayoutKey::kNone:
      break;
    case LayoutKey::kDeviceType:
      context->device_type = static_cast<int>(value);
      break;
    case LayoutKey::kLayoutMajor:  // device type 0 shares the pan/tilt layout
      context->device_type = (value >> 8) == 0 ? 1 : 2;
      break;
    case LayoutKey::kAreaCount:
      context->areas = value;
      break;
    case LayoutKey::kMapValid:
      context->map_sent = value != 0;
      break;
    case LayoutKey::kPresetOperation:
      context->preset_set = value == 0;
      break;
    case LayoutKey::kRequestVersion:
      context->version_major = static_cast<uint8_t>(value >> 8);
      break;
  }
}

}  // namespace camrcd
