// Prints what the project's reader finds in written mailbox files, item by
// item, as one JSON document on stdout, for the import comparisons.
// Usage: virel_mailbox_dump FILE.pst...
#include <glib.h>

#include <cstdint>
#include <iostream>
#include <iterator>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "file_status.h"
#include "mailbox.h"

namespace {

using Json = nlohmann::json;

constexpr std::int64_t kTicksPerSecond = 10000000;
constexpr std::int64_t kFiletimeEpochSeconds = 11644473600;  // 1601 to 1970
const char* const kRecipientTypes[] = {"to", "cc", "bcc"};
constexpr std::uint32_t kFirstRecipientType = 1;

std::int64_t unixSeconds(std::uint64_t filetime) {
  return static_cast<std::int64_t>(filetime / kTicksPerSecond) - kFiletimeEpochSeconds;
}

std::string base64(const vread::Bytes& bytes) {
  std::unique_ptr<gchar, decltype(&g_free)> text(g_base64_encode(bytes.data(), bytes.size()), g_free);
  return text.get();
}

// Folder paths below the root, "Inbox" or "Archive/2019".
std::map<std::uint32_t, std::string> folderPaths(const vread::Mailbox& m) {
  std::map<std::uint32_t, std::string> paths;
  for (const vread::Folder& f : m.folders()) {  // parents come first
    if (f.depth == 0) continue;
    auto parent = paths.find(f.parent);
    paths[f.nid] = parent == paths.end() ? f.name : parent->second + "/" + f.name;
  }
  return paths;
}

std::string recipientType(std::uint32_t type) {
  const std::uint32_t index = type - kFirstRecipientType;
  return index < std::size(kRecipientTypes) ? kRecipientTypes[index] : std::to_string(type);
}

Json attachmentsJson(const vread::Mailbox& m, const vread::Item& item) {
  Json out = Json::array();
  for (const vread::Attachment& a : item.attachments) {
    Json j = {{"file_name", a.name}, {"size", a.size}};
    if (auto data = m.attachmentData(a)) j["data_base64"] = base64(*data);
    out.push_back(j);
  }
  return out;
}

Json itemJson(const vread::Mailbox& m, const vread::Item& item, const std::string& folder) {
  Json recipients = Json::array();
  for (const vread::Recipient& r : item.recipients)
    recipients.push_back({{"type", recipientType(r.type)}, {"name", r.name}, {"address", r.address}});
  Json j = {{"nid", item.nid},
            {"folder", folder},
            {"kind", item.isEvent ? "event" : "message"},
            {"subject", item.subject},
            {"sender", {{"name", item.senderName}, {"address", item.senderAddress}}},
            {"recipients", recipients},
            {"body_plain", item.body},
            {"body_html", std::string(item.bodyHtml.begin(), item.bodyHtml.end())},
            {"time", item.time ? Json(unixSeconds(*item.time)) : Json()},
            {"attachments", attachmentsJson(m, item)}};
  if (item.isEvent) {
    j["start"] = item.start ? Json(unixSeconds(*item.start)) : Json();
    j["end"] = item.end ? Json(unixSeconds(*item.end)) : Json();
    j["location"] = item.location.value_or("");
    j["busy_status"] = item.busyStatus ? Json(*item.busyStatus) : Json();
  }
  return j;
}

Json fileJson(const std::string& path) {
  const vread::Mailbox m = vread::Mailbox::open(path);
  const auto paths = folderPaths(m);
  Json items = Json::array();
  for (const vread::Folder& f : m.folders()) {
    auto folder = paths.find(f.nid);
    for (const vread::Item& item : f.items)
      items.push_back(itemJson(m, item, folder == paths.end() ? "" : folder->second));
  }
  Json j = {{"path", path}, {"status", vread::statusName(m.status())}, {"items", items}};
  if (!m.loadError().empty()) j["error"] = m.loadError();
  return j;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::cerr << "usage: virel_mailbox_dump FILE.pst...\n";
    return 2;
  }
  Json files = Json::array();
  for (int i = 1; i < argc; ++i) files.push_back(fileJson(argv[i]));
  // Texts read back may hold anything: invalid UTF-8 is replaced, not fatal.
  std::cout << Json{{"files", files}}.dump(1, ' ', false, Json::error_handler_t::replace) << "\n";
  return 0;
}
