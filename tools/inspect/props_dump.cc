#include "props_dump.h"

#include <string>

#include "value_format.h"

namespace inspect {

namespace {

using vread::hex;

void printPc(const vread::PropertyContext& pc, const vread::NameMap& names, const std::string& indent,
             std::ostream& out) {
  out << indent << "property context, " << pc.all().size() << " properties:\n";
  for (const auto& entry : pc.all())
    out << indent << "  " << formatTag(entry.first, names) << " = " << formatValue(entry.first, entry.second.bytes)
        << "\n";
}

void printTc(const vread::TableContext& tc, const vread::NameMap& names, const std::string& indent,
             std::ostream& out) {
  out << indent << "table context, " << tc.columns().size() << " columns, " << tc.rows().size() << " rows:\n";
  for (const auto& c : tc.columns())
    out << indent << "  column " << formatTag(c.tag, names) << " ibData " << c.ibData << " cbData "
        << unsigned{c.cbData} << " iBit " << unsigned{c.iBit} << "\n";
  for (const auto& r : tc.rows()) {
    out << indent << "  row " << r.index << " id " << hex(r.rowId) << ":\n";
    for (std::size_t i = 0; i < r.cells.size() && i < tc.columns().size(); ++i) {
      const auto& cell = r.cells[i];
      out << indent << "    " << formatTag(tc.columns()[i].tag, names) << " = "
          << (cell.exists ? formatValue(tc.columns()[i].tag, cell.value) : std::string("(absent)")) << "\n";
    }
  }
}

void printContext(const std::optional<vread::PropertyContext>& pc, const std::optional<vread::TableContext>& tc,
                  const vread::NameMap& names, const std::string& indent, std::ostream& out) {
  if (pc)
    printPc(*pc, names, indent, out);
  else if (tc)
    printTc(*tc, names, indent, out);
  else
    out << indent << "(data is neither a readable property context nor a table context)\n";
}

Json pcJson(const vread::PropertyContext& pc, const vread::NameMap& names) {
  Json props = Json::array();
  for (const auto& entry : pc.all())
    props.push_back({{"tag", formatTag(entry.first, names)}, {"value", formatValue(entry.first, entry.second.bytes)}});
  return {{"kind", "property context"}, {"properties", props}};
}

Json tcJson(const vread::TableContext& tc, const vread::NameMap& names) {
  Json columns = Json::array();
  for (const auto& c : tc.columns())
    columns.push_back({{"tag", formatTag(c.tag, names)}, {"ibData", c.ibData}, {"cbData", c.cbData}, {"iBit", c.iBit}});
  Json rows = Json::array();
  for (const auto& r : tc.rows()) {
    Json cells = Json::array();
    for (std::size_t i = 0; i < r.cells.size() && i < tc.columns().size(); ++i)
      cells.push_back(r.cells[i].exists ? Json(formatValue(tc.columns()[i].tag, r.cells[i].value)) : Json());
    rows.push_back({{"index", r.index}, {"rowId", hex(r.rowId)}, {"cells", cells}});
  }
  return {{"kind", "table context"}, {"columns", columns}, {"rows", rows}};
}

Json contextJson(const std::optional<vread::PropertyContext>& pc, const std::optional<vread::TableContext>& tc,
                 const vread::NameMap& names) {
  if (pc) return pcJson(*pc, names);
  if (tc) return tcJson(*tc, names);
  return {{"kind", "unreadable"}};
}

}  // namespace

bool printNodeProperties(const vread::Mailbox& m, std::uint32_t nid, std::ostream& out) {
  const vread::NodeEntry* n = m.node(nid);
  if (n == nullptr) return false;
  out << "node " << hex(n->nid) << ": data " << hex(n->bidData) << ", subnodes " << hex(n->bidSub) << ", parent "
      << hex(n->parent) << "\n";
  printContext(m.properties(nid), m.table(nid), m.nameMap(), "  ", out);
  for (const auto& s : m.subnodes(nid)) {
    out << "  subnode " << hex(s.nid) << ": data " << hex(s.bidData) << ", subnodes " << hex(s.bidSub) << "\n";
    printContext(m.subnodeProperties(nid, s.nid), m.subnodeTable(nid, s.nid), m.nameMap(), "    ", out);
  }
  return true;
}

std::optional<Json> nodePropertiesJson(const vread::Mailbox& m, std::uint32_t nid) {
  const vread::NodeEntry* n = m.node(nid);
  if (n == nullptr) return std::nullopt;
  Json subnodes = Json::array();
  for (const auto& s : m.subnodes(nid))
    subnodes.push_back({{"nid", hex(s.nid)},
                        {"data", hex(s.bidData)},
                        {"subnodes", hex(s.bidSub)},
                        {"context", contextJson(m.subnodeProperties(nid, s.nid), m.subnodeTable(nid, s.nid),
                                                m.nameMap())}});
  return Json{{"nid", hex(n->nid)},
              {"data", hex(n->bidData)},
              {"subnodes", hex(n->bidSub)},
              {"parent", hex(n->parent)},
              {"context", contextJson(m.properties(nid), m.table(nid), m.nameMap())},
              {"subnodeList", subnodes}};
}

}  // namespace inspect
