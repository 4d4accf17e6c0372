#include "database.h"

#include "layout.h"
#include "placement.h"

namespace vread {

using namespace layout;

Database::Database(const FileImage& file, ViolationLog& log) : file_(file) {
  header_ = readHeader(file, log);
  store_ = std::make_unique<BlockStore>(file, std::vector<BlockEntry>{});
  if (header_.state != HeaderState::Final) return;
  maps_ = readMapPages(file, header_, log);
  nbt_ = readNodeTree(file, header_, log);
  bbt_ = readBlockTree(file, header_, log);
  store_ = std::make_unique<BlockStore>(file, bbt_.blocks);
  for (std::size_t i = 0; i < nbt_.nodes.size(); ++i) nodeIndex_[nbt_.nodes[i].nid] = i;
  readable_ = !nbt_.pages.empty() && !bbt_.pages.empty();
  unlisted_ = checkPlacement({file, header_, maps_, nbt_, bbt_, *store_}, log);
  checkNodes(log);
}

const NodeEntry* Database::node(std::uint32_t nid) const {
  auto it = nodeIndex_.find(nid);
  return it == nodeIndex_.end() ? nullptr : &nbt_.nodes[it->second];
}

void Database::checkNodes(ViolationLog& log) const {
  ViolationLog::Scope scope(log, "NBT");
  for (const auto& n : nbt_.nodes) {
    std::string name = "node " + hex(n.nid);
    if (n.bidData == 0)
      log.add(n.entryOffset + 8, name + " has no data block");
    else if (store_->find(n.bidData) == nullptr)
      log.add(n.entryOffset + 8, name + ": data BID " + hex(n.bidData) + " is not in the BBT");
    if (n.bidSub != 0 && store_->find(n.bidSub) == nullptr)
      log.add(n.entryOffset + 16, name + ": subnode BID " + hex(n.bidSub) + " is not in the BBT");
    if (n.parent != 0 && node(n.parent) == nullptr)
      log.add(n.entryOffset + 24, name + ": parent " + hex(n.parent) + " is not in the NBT");
  }
}

}  // namespace vread
