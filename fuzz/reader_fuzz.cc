// The input is a whole file image. Whatever its bytes, reading it, walking
// everything the reader exposes and rendering both reports must neither
// crash nor trip a sanitizer, and the JSON report must parse.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>

#include "json_report.h"
#include "mailbox.h"
#include "props_dump.h"
#include "text_report.h"

namespace {

void walkNodes(const vread::Mailbox& m) {
  for (const auto& n : m.nodes()) {
    (void)m.properties(n.nid);
    (void)m.table(n.nid);
    for (const auto& s : m.subnodes(n.nid)) {
      (void)m.subnodeProperties(n.nid, s.nid);
      (void)m.subnodeTable(n.nid, s.nid);
    }
  }
  for (const auto& b : m.blocks()) (void)m.blockPayload(b.bid);
  for (const auto& f : m.folders())
    for (const auto& it : f.items)
      for (const auto& a : it.attachments) (void)m.attachmentData(a);
}

void renderReports(const vread::Mailbox& m) {
  std::ostringstream text;
  inspect::printTextReport("input", m, text);
  std::ostringstream json;
  inspect::printJsonReport("input", m, json);
  // Throws (and so aborts the run) on invalid JSON or invalid UTF-8.
  (void)inspect::Json::parse(json.str());
  for (const auto& n : m.nodes()) {
    std::ostringstream props;
    inspect::printNodeProperties(m, n.nid, props);
    if (auto j = inspect::nodePropertiesJson(m, n.nid)) {
      std::ostringstream out;
      inspect::printJson(*j, out);
      (void)inspect::Json::parse(out.str());
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const vread::Mailbox m = vread::Mailbox::fromBytes(vread::Bytes(data, data + size));
  const vread::FileStatus status = m.status();
  if (status == vread::FileStatus::Complete && !m.violations().empty()) std::abort();
  walkNodes(m);
  (void)m.unreferencedBlocks();
  (void)m.storeName();
  renderReports(m);
  return 0;
}
