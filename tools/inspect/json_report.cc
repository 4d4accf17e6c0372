#include "json_report.h"

#include "status.h"
#include "text.h"

namespace inspect {

namespace {

using vread::hex;

Json header(const vread::Mailbox& m) {
  const vread::HeaderInfo& h = m.header();
  return {{"state", vread::stateName(h.state)}, {"magic", h.magic},
          {"version", h.version},                {"fileSize", h.fileSize},
          {"ibFileEof", h.fileEof},              {"nbtRootBid", hex(h.nbt.bid)},
          {"nbtRootIb", h.nbt.ib},               {"bbtRootBid", hex(h.bbt.bid)},
          {"bbtRootIb", h.bbt.ib}};
}

Json counts(const vread::Mailbox& m) {
  return {{"nodes", m.nodes().size()},
          {"blocks", m.blocks().size()},
          {"unreferencedBlocks", m.unreferencedBlocks().size()},
          {"unlistedBlocks", m.unlistedBlocks().size()},
          {"nbtPages", m.nbtPages().size()},
          {"bbtPages", m.bbtPages().size()},
          {"mapPages", m.mapPageCount()}};
}

Json violations(const vread::Mailbox& m) {
  Json out = Json::array();
  for (const auto& v : m.violations()) out.push_back({{"offset", v.offset}, {"message", v.message}});
  return out;
}

Json warnings(const vread::Mailbox& m) {
  Json out = Json::array();
  for (const auto& w : m.warnings()) out.push_back({{"offset", w.offset}, {"size", w.size}, {"message", w.message}});
  return out;
}

Json item(const vread::Item& it) {
  Json j = {{"nid", hex(it.nid)},
            {"kind", it.isEvent ? "event" : "message"},
            {"class", it.messageClass},
            {"subject", it.subject},
            {"senderName", it.senderName},
            {"senderAddress", it.senderAddress},
            {"recipients", Json::array()},
            {"attachments", Json::array()}};
  for (const auto& r : it.recipients)
    j["recipients"].push_back({{"kind", recipientKind(r.type)}, {"name", r.name}, {"address", r.address}});
  for (const auto& a : it.attachments)
    j["attachments"].push_back({{"number", a.number}, {"name", a.name}, {"size", a.size}});
  if (it.start) j["start"] = vread::filetimeToIso(*it.start);
  if (it.end) j["end"] = vread::filetimeToIso(*it.end);
  if (it.location) j["location"] = *it.location;
  return j;
}

Json folders(const vread::Mailbox& m) {
  Json out = Json::array();
  for (const auto& f : m.folders()) {
    Json children = Json::array();
    for (auto c : f.children) children.push_back(hex(c));
    Json items = Json::array();
    for (const auto& it : f.items) items.push_back(item(it));
    out.push_back({{"nid", hex(f.nid)},
                   {"parent", hex(f.parent)},
                   {"name", f.name},
                   {"containerClass", f.containerClass},
                   {"children", children},
                   {"items", items}});
  }
  return out;
}

}  // namespace

void printJson(const Json& json, std::ostream& out) {
  out << json.dump(2, ' ', false, Json::error_handler_t::replace) << "\n";
}

void printJsonReport(const std::string& path, const vread::Mailbox& m, std::ostream& out) {
  Json j;
  j["file"] = path;
  j["status"] = vread::statusName(m.status());
  j["header"] = header(m);
  if (m.header().state == vread::HeaderState::Final) {
    j["counts"] = counts(m);
    if (auto r = m.recordBlock())
      j["record"] = {{"messages", r->messages}, {"events", r->events}, {"ib", r->ib}};
  }
  if (auto name = m.storeName()) j["store"] = *name;
  j["violations"] = violations(m);
  j["warnings"] = warnings(m);
  j["folders"] = folders(m);
  printJson(j, out);
}

}  // namespace inspect
