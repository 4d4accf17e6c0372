#include "node_sweep.h"

#include "layout.h"

namespace vread {

using namespace layout;

namespace {

constexpr int kMaxNesting = 4;

void checkContext(const std::optional<NodeBytes>& data, ViolationLog& log) {
  if (!data) return;
  auto heap = Heap::parse(*data, log);
  if (!heap) return;
  if (heap->clientSig() == kClientPc)
    PropertyContext::parse(*heap, log);
  else if (heap->clientSig() == kClientTc)
    TableContext::parse(*heap, log);
  else
    log.add(heap->fileOffsetAt(3), "heap client signature " + hex(heap->clientSig()) + " is neither PC nor TC");
}

void sweepSubnodes(const NodeAccess& access, std::uint64_t bidSub, std::uint64_t refOffset, int depth,
                   ViolationLog& log) {
  auto entries = access.subnodeTree(bidSub, refOffset, log);
  if (!entries) return;
  for (const auto& e : *entries) {
    ViolationLog::Scope scope(log, "subnode " + hex(e.nid));
    checkContext(access.tree(e.bidData, refOffset, log), log);
    if (e.bidSub != 0 && depth < kMaxNesting) sweepSubnodes(access, e.bidSub, refOffset, depth + 1, log);
  }
}

}  // namespace

void sweepNodes(const Database& db, const NodeAccess& access, ViolationLog& log) {
  for (const auto& n : db.nodeTree().nodes) {
    ViolationLog::Scope scope(log, "node " + hex(n.nid));
    if (n.bidData != 0 && db.blocks().find(n.bidData) != nullptr) checkContext(access.data(n.nid, log), log);
    if (n.bidSub != 0 && db.blocks().find(n.bidSub) != nullptr)
      sweepSubnodes(access, n.bidSub, n.entryOffset + 16, 0, log);
  }
}

}  // namespace vread
