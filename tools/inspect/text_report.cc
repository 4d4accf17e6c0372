#include "text_report.h"

#include "status.h"
#include "text.h"

namespace inspect {

namespace {

using vread::hex;

void printSummary(const std::string& path, const vread::Mailbox& m, std::ostream& out) {
  const vread::HeaderInfo& h = m.header();
  out << "File:      " << path << " (" << h.fileSize << " bytes)\n";
  out << "Header:    " << vread::stateName(h.state) << ", magic \"" << h.magic << "\", wVer " << h.version
      << ", ibFileEof " << hex(h.fileEof) << "\n";
  if (h.state != vread::HeaderState::Final) return;
  out << "NBT root:  bid " << hex(h.nbt.bid) << " at " << hex(h.nbt.ib) << "; BBT root: bid " << hex(h.bbt.bid)
      << " at " << hex(h.bbt.ib) << "\n";
  out << "Nodes:     " << m.nodes().size() << "\n";
  out << "Blocks:    " << m.blocks().size() << " listed, " << m.unreferencedBlocks().size()
      << " referenced by no node, " << m.unlistedBlocks().size() << " not listed\n";
  out << "Pages:     " << m.nbtPages().size() << " NBT, " << m.bbtPages().size() << " BBT, " << m.mapPageCount()
      << " allocation map\n";
  if (auto r = m.recordBlock())
    out << "Record:    " << r->messages << " messages, " << r->events << " events (block at " << hex(r->ib) << ")\n";
  if (auto name = m.storeName()) out << "Store:     " << *name << "\n";
}

void printViolations(const vread::Mailbox& m, std::ostream& out) {
  out << "Violations: " << m.violations().size() << "\n";
  for (const auto& v : m.violations()) out << "  " << hex(v.offset) << "  " << v.message << "\n";
}

void printItem(const vread::Item& it, const std::string& indent, std::ostream& out) {
  out << indent << "- " << (it.isEvent ? "event " : "message ") << hex(it.nid) << " \"" << it.subject << "\" ["
      << it.messageClass << "]\n";
  std::string in = indent + "    ";
  if (!it.senderName.empty() || !it.senderAddress.empty())
    out << in << "from: " << it.senderName << (it.senderAddress.empty() ? "" : " <" + it.senderAddress + ">") << "\n";
  for (const auto& r : it.recipients)
    out << in << recipientKind(r.type) << ": " << r.name << (r.address.empty() ? "" : " <" + r.address + ">") << "\n";
  for (const auto& a : it.attachments)
    out << in << "attachment: \"" << a.name << "\" (" << a.size << " bytes)\n";
  if (it.start) out << in << "start: " << vread::filetimeToIso(*it.start) << "\n";
  if (it.end) out << in << "end: " << vread::filetimeToIso(*it.end) << "\n";
  if (it.location) out << in << "location: " << *it.location << "\n";
}

void printFolders(const vread::Mailbox& m, std::ostream& out) {
  out << "Folders:\n";
  for (const auto& f : m.folders()) {
    std::string indent(2 + 2 * static_cast<std::size_t>(f.depth), ' ');
    out << indent << f.name << " (" << hex(f.nid) << ", " << (f.containerClass.empty() ? "no class" : f.containerClass)
        << ", " << f.items.size() << " items)\n";
    for (const auto& it : f.items) printItem(it, indent + "  ", out);
  }
}

}  // namespace

void printTextReport(const std::string& path, const vread::Mailbox& m, std::ostream& out) {
  printSummary(path, m, out);
  printViolations(m, out);
  if (!m.folders().empty()) printFolders(m, out);
  Verdict v = verdictOf(m);
  out << "Status:    " << verdictName(v);
  if (v == Verdict::Incomplete) out << " (provisional header: the writer never completed its close)";
  out << "\n";
}

}  // namespace inspect
