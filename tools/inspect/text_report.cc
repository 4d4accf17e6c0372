#include "text_report.h"

#include "status.h"
#include "text.h"
#include "value_format.h"

namespace inspect {

namespace {

using vread::hex;

void printSummary(const std::string& path, const vread::Mailbox& m, std::ostream& out) {
  const vread::HeaderInfo& h = m.header();
  out << "File:      " << path << " (" << h.fileSize << " bytes)\n";
  out << "Header:    " << vread::stateName(h.state) << ", magic \"" << printable(h.magic) << "\", wVer " << h.version
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
  if (auto name = m.storeName()) out << "Store:     " << printable(*name) << "\n";
}

void printFindings(const vread::Mailbox& m, std::ostream& out) {
  out << "Violations: " << m.violations().size() << "\n";
  for (const auto& v : m.violations()) out << "  " << hex(v.offset) << "  " << printable(v.message) << "\n";
  out << "Warnings:   " << m.warnings().size() << "\n";
  for (const auto& w : m.warnings())
    out << "  " << hex(w.offset) << "  " << w.size << " bytes: " << printable(w.message) << "\n";
}

void printItem(const vread::Item& it, const std::string& indent, std::ostream& out) {
  out << indent << "- " << (it.isEvent ? "event " : "message ") << hex(it.nid) << " \"" << printable(it.subject)
      << "\" [" << printable(it.messageClass) << "]\n";
  std::string in = indent + "    ";
  auto person = [](const std::string& name, const std::string& address) {
    return printable(name) + (address.empty() ? "" : " <" + printable(address) + ">");
  };
  if (!it.senderName.empty() || !it.senderAddress.empty())
    out << in << "from: " << person(it.senderName, it.senderAddress) << "\n";
  for (const auto& r : it.recipients) out << in << recipientKind(r.type) << ": " << person(r.name, r.address) << "\n";
  for (const auto& a : it.attachments)
    out << in << "attachment: \"" << printable(a.name) << "\" (" << a.size << " bytes)\n";
  if (it.start) out << in << "start: " << vread::filetimeToIso(*it.start) << "\n";
  if (it.end) out << in << "end: " << vread::filetimeToIso(*it.end) << "\n";
  if (it.location) out << in << "location: " << printable(*it.location) << "\n";
}

void printFolders(const vread::Mailbox& m, std::ostream& out) {
  out << "Folders:\n";
  for (const auto& f : m.folders()) {
    std::string indent(2 + 2 * static_cast<std::size_t>(f.depth), ' ');
    out << indent << printable(f.name) << " (" << hex(f.nid) << ", "
        << (f.containerClass.empty() ? "no class" : printable(f.containerClass)) << ", " << f.items.size()
        << " items)\n";
    for (const auto& it : f.items) printItem(it, indent + "  ", out);
  }
}

}  // namespace

void printTextReport(const std::string& path, const vread::Mailbox& m, std::ostream& out) {
  printSummary(path, m, out);
  printFindings(m, out);
  if (!m.folders().empty()) printFolders(m, out);
  const vread::FileStatus status = m.status();
  out << "Status:    " << vread::statusName(status);
  if (*statusNote(status)) out << " (" << statusNote(status) << ")";
  out << "\n";
}

}  // namespace inspect
