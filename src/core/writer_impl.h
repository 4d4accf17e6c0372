// Virel::Impl: owns the file store, the registries and the folder model;
// opens the file, and at close writes every structure and the header.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "core/virel.h"
#include "ndb/block_allocator.h"
#include "ndb/data_writer.h"
#include "ndb/file_store.h"
#include "ndb/node_registry.h"

namespace virel {

// The allocation-map area and the reserved head of the file.
inline constexpr uint64_t kReservedHeadEnd = ndb::kAMapStart + 8192;
inline constexpr uint64_t kMinFileSize = 262144;

class Virel::Impl {
 public:
  explicit Impl(const std::string& path);
  // Closes; an exception escaping here terminates the process.
  ~Impl();

  // The full closing sequence; throws FileIOException("closing", ...).
  void close();
  // Bookkeeping records, then finalisation; throws SerializationException.
  void compact();

  bool finalised() const { return finalised_; }
  const ndb::NodeRegistry& nodes() const { return nodes_; }
  const ndb::BlockAllocator& allocator() const { return *allocator_; }

 private:
  void ReserveHead();
  void Finalise();
  ndb::Bref WriteTree(bool nbt);
  void WriteHeader(const ndb::Bref& nbt, const ndb::Bref& bbt);

  std::string path_;
  ndb::NodeRegistry nodes_;
  std::unique_ptr<ndb::FileStore> store_;
  std::unique_ptr<ndb::BlockAllocator> allocator_;
  std::unique_ptr<ndb::DataWriter> data_;
  bool finalised_ = false;
};

}  // namespace virel
