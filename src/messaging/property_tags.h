// Property tags the messaging layer writes: identifier in the high 16
// bits, type in the low 16.
#pragma once

#include <cstdint>

namespace virel {
namespace tag {

// Property types (low 16 bits).
inline constexpr uint16_t kTypeLong = 0x0003;
inline constexpr uint16_t kTypeBoolean = 0x000B;
inline constexpr uint16_t kTypeUnicode = 0x001F;
inline constexpr uint16_t kTypeSysTime = 0x0040;

inline constexpr uint32_t Named(uint16_t id, uint16_t type) {
  return (static_cast<uint32_t>(id) << 16) | type;
}

// Message and folder properties.
inline constexpr uint32_t kMessageClass = 0x001A001F;
inline constexpr uint32_t kSubject = 0x0037001F;
inline constexpr uint32_t kClientSubmitTime = 0x00390040;
inline constexpr uint32_t kSentRepresentingName = 0x0042001F;
inline constexpr uint32_t kSentRepresentingEmail = 0x0065001F;
inline constexpr uint32_t kRecipientType = 0x0C150003;
inline constexpr uint32_t kSenderName = 0x0C1A001F;
inline constexpr uint32_t kSenderEmail = 0x0C1F001F;
inline constexpr uint32_t kDisplayTo = 0x0E04001F;
inline constexpr uint32_t kMessageFlags = 0x0E070003;
inline constexpr uint32_t kHasAttachments = 0x0E1B000B;
inline constexpr uint32_t kNormalizedSubject = 0x0E1D001F;
inline constexpr uint32_t kAttachSize = 0x0E200003;
inline constexpr uint32_t kAttachNumber = 0x0E210003;
inline constexpr uint32_t kBody = 0x1000001F;
inline constexpr uint32_t kBodyHtml = 0x10130102;
inline constexpr uint32_t kAttributeHidden = 0x10F4000B;
inline constexpr uint32_t kDisplayName = 0x3001001F;
inline constexpr uint32_t kDisplayName8 = 0x3001001E;  // holds an entry ID
inline constexpr uint32_t kAttachDataBinary = 0x37010102;
inline constexpr uint32_t kAttachFilenameUnicode = 0x3704001F;
inline constexpr uint32_t kAttachFilename8 = 0x3704001E;
inline constexpr uint32_t kAttachMethod = 0x37050003;
inline constexpr uint32_t kAttachLongFilename8 = 0x3707001E;
inline constexpr uint32_t kSmtpAddress = 0x39FE001F;
inline constexpr uint32_t kFolderType = 0x36010003;
inline constexpr uint32_t kContentCount = 0x36020003;
inline constexpr uint32_t kContentUnreadCount = 0x36030003;
inline constexpr uint32_t kSubfolders = 0x360A000B;
inline constexpr uint32_t kContainerClass = 0x3613001F;

// Message store properties.
inline constexpr uint32_t kStoreSupportMask = 0x340D0003;
inline constexpr uint32_t kStoreState = 0x340E0003;
inline constexpr uint32_t kValidFolderMask = 0x35DF0003;
inline constexpr uint32_t kIpmSubtreeEntryId = 0x35E00102;
inline constexpr uint32_t kInboxEntryId = 0x35E10102;
inline constexpr uint32_t kOutboxEntryId = 0x35E20102;
inline constexpr uint32_t kWastebasketEntryId = 0x35E30102;
inline constexpr uint32_t kCommonViewsEntryId = 0x35E60102;
inline constexpr uint32_t kStoreUnnamed0C00 = 0x66570C00;

// Name-to-ID map streams.
inline constexpr uint32_t kNameidStreamGuid = 0x00020102;
inline constexpr uint32_t kNameidStreamEntry = 0x00030102;
inline constexpr uint32_t kNameidStreamString = 0x00040102;

}  // namespace tag
}  // namespace virel
