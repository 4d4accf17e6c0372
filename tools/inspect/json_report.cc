#include "json_report.h"

#include "json_writer.h"
#include "status.h"
#include "text.h"

namespace inspect {

namespace {

void writeHeader(const vread::Mailbox& m, JsonWriter& w) {
  const vread::HeaderInfo& h = m.header();
  w.beginObject("header");
  w.value("state", vread::stateName(h.state));
  w.value("magic", h.magic);
  w.value("version", std::uint64_t{h.version});
  w.value("fileSize", h.fileSize);
  w.value("ibFileEof", h.fileEof);
  w.value("nbtRootBid", h.nbt.bid);
  w.value("nbtRootIb", h.nbt.ib);
  w.value("bbtRootBid", h.bbt.bid);
  w.value("bbtRootIb", h.bbt.ib);
  w.endObject();
}

void writeCounts(const vread::Mailbox& m, JsonWriter& w) {
  w.beginObject("counts");
  w.value("nodes", std::uint64_t{m.nodes().size()});
  w.value("blocks", std::uint64_t{m.blocks().size()});
  w.value("unreferencedBlocks", std::uint64_t{m.unreferencedBlocks().size()});
  w.value("unlistedBlocks", std::uint64_t{m.unlistedBlocks().size()});
  w.value("nbtPages", std::uint64_t{m.nbtPages().size()});
  w.value("bbtPages", std::uint64_t{m.bbtPages().size()});
  w.value("mapPages", std::uint64_t{m.mapPageCount()});
  w.endObject();
  if (auto r = m.recordBlock()) {
    w.beginObject("record");
    w.value("messages", std::uint64_t{r->messages});
    w.value("events", std::uint64_t{r->events});
    w.value("ib", r->ib);
    w.endObject();
  }
}

void writeViolations(const vread::Mailbox& m, JsonWriter& w) {
  w.beginArray("violations");
  for (const auto& v : m.violations()) {
    w.beginObject();
    w.value("offset", v.offset);
    w.value("message", v.message);
    w.endObject();
  }
  w.endArray();
}

void writeOptionalTime(const char* key, const std::optional<std::uint64_t>& t, JsonWriter& w) {
  if (t) w.value(key, vread::filetimeToIso(*t));
}

void writeItem(const vread::Item& it, JsonWriter& w) {
  w.beginObject();
  w.value("nid", std::uint64_t{it.nid});
  w.value("kind", it.isEvent ? "event" : "message");
  w.value("class", it.messageClass);
  w.value("subject", it.subject);
  w.value("senderName", it.senderName);
  w.value("senderAddress", it.senderAddress);
  w.beginArray("recipients");
  for (const auto& r : it.recipients) {
    w.beginObject();
    w.value("kind", recipientKind(r.type));
    w.value("name", r.name);
    w.value("address", r.address);
    w.endObject();
  }
  w.endArray();
  w.beginArray("attachments");
  for (const auto& a : it.attachments) {
    w.beginObject();
    w.value("name", a.name);
    w.value("size", a.size);
    w.endObject();
  }
  w.endArray();
  writeOptionalTime("start", it.start, w);
  writeOptionalTime("end", it.end, w);
  if (it.location) w.value("location", *it.location);
  w.endObject();
}

void writeFolders(const vread::Mailbox& m, JsonWriter& w) {
  w.beginArray("folders");
  for (const auto& f : m.folders()) {
    w.beginObject();
    w.value("nid", std::uint64_t{f.nid});
    w.value("parent", std::uint64_t{f.parent});
    w.value("name", f.name);
    w.value("containerClass", f.containerClass);
    w.beginArray("children");
    for (auto c : f.children) w.value(nullptr, std::uint64_t{c});
    w.endArray();
    w.beginArray("items");
    for (const auto& it : f.items) writeItem(it, w);
    w.endArray();
    w.endObject();
  }
  w.endArray();
}

}  // namespace

void printJsonReport(const std::string& path, const vread::Mailbox& m, std::ostream& out) {
  JsonWriter w(out);
  w.beginObject();
  w.value("file", path);
  w.value("status", verdictName(verdictOf(m)));
  writeHeader(m, w);
  if (m.header().state == vread::HeaderState::Final) writeCounts(m, w);
  if (auto name = m.storeName()) w.value("store", *name);
  writeViolations(m, w);
  writeFolders(m, w);
  w.endObject();
  w.finish();
}

}  // namespace inspect
