// Property tags the reader interprets.
#pragma once

#include <cstdint>

namespace vread {
namespace tag {

constexpr std::uint32_t kDisplayName = 0x3001001F;
constexpr std::uint32_t kContainerClass = 0x3613001F;
constexpr std::uint32_t kContentCount = 0x36020003;
constexpr std::uint32_t kMessageClass = 0x001A001F;
constexpr std::uint32_t kSubject = 0x0037001F;
constexpr std::uint32_t kBody = 0x1000001F;
constexpr std::uint32_t kBodyHtml = 0x10130102;
constexpr std::uint32_t kClientSubmitTime = 0x00390040;
constexpr std::uint32_t kSenderName = 0x0C1A001F;
constexpr std::uint32_t kSenderAddress = 0x0C1F001F;
constexpr std::uint32_t kRecipientType = 0x0C150003;
constexpr std::uint32_t kSmtpAddress = 0x39FE001F;
constexpr std::uint32_t kAttachNumber = 0x0E210003;
constexpr std::uint32_t kAttachSize = 0x0E200003;
constexpr std::uint32_t kAttachMethod = 0x37050003;
constexpr std::uint32_t kAttachFilename = 0x3704001F;
constexpr std::uint32_t kAttachFilename8 = 0x3704001E;
constexpr std::uint32_t kAttachLongFilename8 = 0x3707001E;
constexpr std::uint32_t kAttachDataBinary = 0x37010102;

constexpr std::uint16_t kTypeSysTime = 0x0040;
constexpr std::uint16_t kTypeLong = 0x0003;
constexpr std::uint16_t kTypeUnicode = 0x001F;

}  // namespace tag
}  // namespace vread
