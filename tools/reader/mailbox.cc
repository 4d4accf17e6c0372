#include "mailbox.h"

#include "folder_reader.h"
#include "layout.h"
#include "node_access.h"
#include "node_sweep.h"
#include "row_groups.h"
#include "tags.h"
#include "text.h"

namespace vread {

using namespace layout;

namespace {

constexpr std::uint32_t kDefaultFolders[] = {0x202, 0x242, 0x282, 0x2C2, 0x302};
constexpr std::uint16_t kRecordBlockSize = 64;
constexpr std::size_t kFiletimeSize = 8;
const std::vector<PageInfo> kNoPages;

}  // namespace

struct Mailbox::State {
  std::string loadError;
  FileImage file;
  ViolationLog log;
  std::unique_ptr<Database> db;
  std::unique_ptr<NodeAccess> access;
  NameMap names;
  std::vector<Folder> folders;
  std::optional<RecordBlock> record;

  void load();
  void checkFixedNodes();
  void readNameMap();
  void findRecordBlock();
  void checkRecordCounts();
  void readRowGroups();
};

void Mailbox::State::load() {
  db = std::make_unique<Database>(file, log);
  access = std::make_unique<NodeAccess>(*db);
  if (!db->readable()) return;
  checkFixedNodes();
  sweepNodes(*db, *access, log);
  readNameMap();
  folders = FolderReader(*db, *access, names, log).read();
  findRecordBlock();
  checkRecordCounts();
  readRowGroups();
}

void Mailbox::State::checkFixedNodes() {
  ViolationLog::Scope scope(log, "fixed nodes");
  auto expect = [&](std::uint32_t nid, std::uint32_t parent) {
    const NodeEntry* n = db->node(nid);
    if (n == nullptr)
      log.add(db->header().nbt.ib, "node " + hex(nid) + " is missing");
    else if (n->parent != parent)
      log.add(n->entryOffset + 24, "node " + hex(nid) + " has parent " + hex(n->parent) + ", expected " + hex(parent));
  };
  expect(kNidStore, 0);
  expect(kNidRoot, kNidStore);
  expect(kNidNameMap, 0);
  for (std::uint32_t nid : kDefaultFolders) expect(nid, kNidRoot);
}

void Mailbox::State::readNameMap() {
  ViolationLog quiet;
  auto pc = NodeAccess::pc(access->data(kNidNameMap, quiet), quiet);
  if (pc) names = NameMap::read(*pc, db->node(kNidNameMap)->entryOffset, log);
}

void Mailbox::State::findRecordBlock() {
  ViolationLog::Scope scope(log, "unlisted blocks");
  const auto& unlisted = db->unlisted();
  for (std::size_t i = 0; i < unlisted.size(); ++i) {
    const UnlistedBlock& b = unlisted[i];
    bool last = i + 1 == unlisted.size();
    if (last && b.cb == kRecordBlockSize && b.crcOk && !(b.bid & kBidInternal)) {
      record = RecordBlock{b.ib, b.bid, le32(b.payload.data()), le32(b.payload.data() + 4)};
      for (std::size_t k = 8; k < b.payload.size(); ++k)
        if (b.payload[k] != 0) log.add(b.ib + k, "record block has non-zero bytes after its two counts");
    } else {
      log.warn(b.ib, blockSpan(b.cb),
               "unlisted space: block " + hex(b.bid) + " (cb " + std::to_string(b.cb) + ") is in the file but not in the BBT");
    }
  }
  if (!record) log.add(db->header().fileEof, "the record block of message and event counts is missing");
}

void Mailbox::State::checkRecordCounts() {
  if (!record) return;
  std::uint32_t messages = 0, events = 0;
  for (const auto& f : folders)
    for (const auto& it : f.items) ++(it.isEvent ? events : messages);
  if (messages != record->messages || events != record->events)
    log.add(record->ib, "record block counts " + std::to_string(record->messages) + " messages and " +
                            std::to_string(record->events) + " events, the folders hold " + std::to_string(messages) +
                            " and " + std::to_string(events));
}

// Row groups are bookkeeping, not structure: one that does not parse adds
// nothing and is no violation. A message's sender address is taken from
// its row only when its property context has none.
void Mailbox::State::readRowGroups() {
  std::map<std::uint32_t, RowCells> rows;
  ViolationLog quiet;
  for (const BlockEntry& b : db->blockTree().blocks) {
    if (!(b.bid & kBidInternal)) continue;
    auto payload = db->blocks().read(b.bid, quiet);
    if (!payload || !payload->crcOk) continue;
    if (auto group = parseRowGroup(payload->data)) rows.insert(group->begin(), group->end());
  }
  for (Folder& f : folders)
    for (Item& item : f.items) {
      auto row = rows.find(item.nid);
      if (row == rows.end()) continue;
      auto time = row->second.find(tag::kClientSubmitTime);
      if (time != row->second.end() && time->second.size() == kFiletimeSize) item.time = le64(time->second.data());
      auto address = row->second.find(tag::kSenderAddress);
      if (address != row->second.end() && item.senderAddress.empty())
        item.senderAddress = utf16ToUtf8(address->second);
    }
}

Mailbox::Mailbox(std::unique_ptr<State> state) : state_(std::move(state)) {}
Mailbox::Mailbox(Mailbox&&) noexcept = default;
Mailbox& Mailbox::operator=(Mailbox&&) noexcept = default;
Mailbox::~Mailbox() = default;

Mailbox Mailbox::open(const std::string& path) {
  auto state = std::make_unique<State>();
  if (!state->file.load(path, state->loadError)) {
    state->db = std::make_unique<Database>(state->file, state->log);
    state->access = std::make_unique<NodeAccess>(*state->db);
    return Mailbox(std::move(state));
  }
  state->load();
  return Mailbox(std::move(state));
}

Mailbox Mailbox::fromBytes(Bytes bytes) {
  auto state = std::make_unique<State>();
  state->file = FileImage(std::move(bytes));
  state->load();
  return Mailbox(std::move(state));
}

const std::string& Mailbox::loadError() const { return state_->loadError; }
const HeaderInfo& Mailbox::header() const { return state_->db->header(); }
const std::vector<Violation>& Mailbox::violations() const { return state_->log.all(); }

const std::vector<Warning>& Mailbox::warnings() const { return state_->log.warnings(); }

FileStatus Mailbox::status() const {
  if (!state_->loadError.empty() || !state_->log.empty()) return FileStatus::Invalid;
  if (header().state == HeaderState::Provisional) return FileStatus::Provisional;
  if (!complete()) return FileStatus::Invalid;
  return warnings().empty() ? FileStatus::Complete : FileStatus::CompleteWithWarnings;
}

bool Mailbox::complete() const {
  return state_->loadError.empty() && header().state == HeaderState::Final && state_->db->readable() &&
         state_->log.empty();
}

const std::vector<NodeEntry>& Mailbox::nodes() const { return state_->db->nodeTree().nodes; }
const NodeEntry* Mailbox::node(std::uint32_t nid) const { return state_->db->node(nid); }
const std::vector<BlockEntry>& Mailbox::blocks() const { return state_->db->blockTree().blocks; }
const std::vector<PageInfo>& Mailbox::nbtPages() const { return state_->db->nodeTree().pages; }
const std::vector<PageInfo>& Mailbox::bbtPages() const { return state_->db->blockTree().pages; }
std::size_t Mailbox::mapPageCount() const { return state_->db->maps().offsets.size(); }
const std::vector<UnlistedBlock>& Mailbox::unlistedBlocks() const { return state_->db->unlisted(); }
std::optional<RecordBlock> Mailbox::recordBlock() const { return state_->record; }

std::vector<BlockEntry> Mailbox::unreferencedBlocks() const {
  std::set<std::uint64_t> pages;
  for (const auto& p : nbtPages()) pages.insert(p.bid);
  std::vector<BlockEntry> out;
  for (const auto& b : blocks())
    if (!state_->access->reached().count(b.bid) && !pages.count(b.bid)) out.push_back(b);
  return out;
}

std::optional<Bytes> Mailbox::blockPayload(std::uint64_t bid) const {
  ViolationLog quiet;
  auto b = state_->db->blocks().read(bid, quiet);
  if (!b) return std::nullopt;
  return b->data;
}

std::optional<Bytes> Mailbox::payloadAt(std::uint64_t ib) const {
  auto b = state_->db->blocks().readAt(ib);
  if (!b) return std::nullopt;
  return b->data;
}

std::optional<Bytes> Mailbox::nodeData(std::uint32_t nid) const {
  ViolationLog quiet;
  auto d = state_->access->data(nid, quiet);
  if (!d) return std::nullopt;
  return d->bytes;
}

std::vector<SubnodeEntry> Mailbox::subnodes(std::uint32_t nid) const {
  ViolationLog quiet;
  return state_->access->subnodes(nid, quiet).value_or(std::vector<SubnodeEntry>{});
}

std::optional<Bytes> Mailbox::subnodeData(std::uint32_t nid, std::uint32_t subnid) const {
  ViolationLog quiet;
  auto d = state_->access->subnodeData(nid, subnid, quiet);
  if (!d) return std::nullopt;
  return d->bytes;
}

std::optional<PropertyContext> Mailbox::properties(std::uint32_t nid) const {
  ViolationLog quiet;
  return NodeAccess::pc(state_->access->data(nid, quiet), quiet);
}

std::optional<PropertyContext> Mailbox::subnodeProperties(std::uint32_t nid, std::uint32_t subnid) const {
  ViolationLog quiet;
  return NodeAccess::pc(state_->access->subnodeData(nid, subnid, quiet), quiet);
}

std::optional<TableContext> Mailbox::table(std::uint32_t nid) const {
  ViolationLog quiet;
  return NodeAccess::tc(state_->access->data(nid, quiet), quiet);
}

std::optional<TableContext> Mailbox::subnodeTable(std::uint32_t nid, std::uint32_t subnid) const {
  ViolationLog quiet;
  return NodeAccess::tc(state_->access->subnodeData(nid, subnid, quiet), quiet);
}

const std::vector<Folder>& Mailbox::folders() const { return state_->folders; }

const Folder* Mailbox::folder(std::uint32_t nid) const {
  for (const auto& f : state_->folders)
    if (f.nid == nid) return &f;
  return nullptr;
}

const Item* Mailbox::item(std::uint32_t nid) const {
  for (const auto& f : state_->folders)
    for (const auto& it : f.items)
      if (it.nid == nid) return &it;
  return nullptr;
}

const NameMap& Mailbox::nameMap() const { return state_->names; }

std::optional<std::string> Mailbox::storeName() const {
  auto pc = properties(kNidStore);
  if (!pc) return std::nullopt;
  return pc->text(tag::kDisplayName);
}

std::optional<Bytes> Mailbox::attachmentData(const Attachment& attachment) const {
  ViolationLog quiet;
  auto d = state_->access->tree(attachment.dataBid, 0, quiet);
  if (!d) return std::nullopt;
  return d->bytes;
}

}  // namespace vread
