#include <gtest/gtest.h>

#include "ltp/bth.h"
#include "ltp/heap.h"
#include "unit/ltp_test_reader.h"

namespace {

using ltp_test::HeapView;
using ltp_test::ParseHeap;
using virel::Bytes;
using virel::ltp::Heap;

TEST(LtpHeapTest, EmptyHeapIsHeaderAndPageMapOnly) {
  Heap heap;
  heap.set_client_signature(0x7C);
  heap.set_user_root(0x12345678);
  // Header, then cAlloc 0, cFree 0 and the single offset 12.
  EXPECT_EQ(heap.Serialize(),
            (Bytes{12, 0, 0xEC, 0x7C, 0x78, 0x56, 0x34, 0x12, 0, 0, 0, 0,
                   0, 0, 0, 0, 12, 0}));
  // Reset forgets allocations, signature and user root.
  heap.Allocate(Bytes{1, 2, 3});
  heap.Reset();
  HeapView view;
  ASSERT_TRUE(ParseHeap(heap.Serialize(), &view));
  EXPECT_EQ(view.ib_hnpm, 12);
  EXPECT_EQ(view.sig, 0xEC);
  EXPECT_EQ(view.client_sig, 0);
  EXPECT_EQ(view.user_root, 0u);
  EXPECT_EQ(view.c_alloc, 0);
  EXPECT_EQ(view.c_free, 0);
  EXPECT_EQ(view.rgib, (std::vector<uint16_t>{12}));
  EXPECT_EQ(heap.Allocate(Bytes{9}), 0x20u);
}

TEST(LtpHeapTest, AllocationsArePackedWithoutAlignment) {
  Heap heap;
  heap.set_client_signature(0xBC);
  const Bytes five{1, 2, 3, 4, 5};
  const Bytes eight{10, 11, 12, 13, 14, 15, 16, 17};
  EXPECT_EQ(heap.Allocate(five), 0x20u);
  EXPECT_EQ(heap.Allocate(eight), 0x40u);
  const Bytes out = heap.Serialize();
  EXPECT_EQ(out.size(), 25u + 2 * (2 + 3));
  HeapView view;
  ASSERT_TRUE(ParseHeap(out, &view));
  EXPECT_EQ(view.ib_hnpm, 25);  // the page map starts at an odd offset
  EXPECT_EQ(view.rgib, (std::vector<uint16_t>{12, 17, 25}));
  EXPECT_EQ(view.Item(0x20), five);
  EXPECT_EQ(view.Item(0x40), eight);
  EXPECT_EQ(view.client_sig, 0xBC);

  // An empty allocation has two equal offsets; later items follow on.
  EXPECT_EQ(heap.Allocate(Bytes{}), 0x60u);
  EXPECT_EQ(heap.Allocate(Bytes{7}), 0x80u);
  ASSERT_TRUE(ParseHeap(heap.Serialize(), &view));
  EXPECT_EQ(view.rgib, (std::vector<uint16_t>{12, 17, 25, 25, 26}));
  EXPECT_EQ(view.Item(0x80), Bytes{7});
}

// Referred bytes take their place in index order beside copied ones, read
// when the heap is serialised.
TEST(LtpHeapTest, ReferredBytesAreReadAtSerialisation) {
  Heap heap;
  Bytes caller{1, 2, 3, 4, 5};
  EXPECT_EQ(heap.Allocate(Bytes{9}), 0x20u);
  EXPECT_EQ(heap.Refer(caller.data(), caller.size()), 0x40u);
  EXPECT_EQ(heap.Allocate(Bytes{8, 8}), 0x60u);
  caller[0] = 7;
  HeapView view;
  ASSERT_TRUE(ParseHeap(heap.Serialize(), &view));
  EXPECT_EQ(view.rgib, (std::vector<uint16_t>{12, 13, 18, 20}));
  EXPECT_EQ(view.Item(0x20), Bytes{9});
  EXPECT_EQ(view.Item(0x40), (Bytes{7, 2, 3, 4, 5}));
  EXPECT_EQ(view.Item(0x60), (Bytes{8, 8}));
  EXPECT_EQ(heap.SerializedSize(), heap.Serialize().size());
}

TEST(LtpHeapTest, IndexWrapsAfter2047Allocations) {
  Heap heap;
  uint32_t hid = 0;
  for (int i = 0; i < 2047; ++i) hid = heap.Allocate(Bytes{});
  EXPECT_EQ(hid, 0xFFE0u);
  EXPECT_FALSE(heap.wrapped());
  EXPECT_EQ(heap.Allocate(Bytes{5}), 0u);
  EXPECT_EQ(heap.Allocate(Bytes{6, 6}), 0x20u);  // replaces the first one
  EXPECT_TRUE(heap.wrapped());
  EXPECT_EQ(heap.allocation_count(), 2048u);
  // HID order: index 0 (the newest but one) leads, index 1 holds its
  // replacement.
  HeapView view;
  ASSERT_TRUE(ParseHeap(heap.Serialize(), &view));
  ASSERT_EQ(view.rgib.size(), 2049u);
  EXPECT_EQ(view.rgib[0], 12u);
  EXPECT_EQ(view.rgib[1], 13u);
  EXPECT_EQ(view.rgib[2], 15u);
  EXPECT_EQ(view.rgib.back(), 15u);
  // However far the counter runs, the heap stays marked as wrapped.
  for (int i = 0; i < 70000; ++i) heap.Allocate(Bytes{});
  EXPECT_TRUE(heap.wrapped());
  EXPECT_EQ(heap.allocation_count(), 2048u);
}

// Leaves come out sorted by key, equal keys in the order added, whether
// the records arrived sorted or not.
TEST(LtpHeapTest, BthLeavesSortedStably) {
  using virel::ltp::BthBuilder;
  auto leaves = [](const std::vector<std::pair<uint32_t, uint8_t>>& records) {
    Heap heap;
    BthBuilder bth(2, 1);
    for (const auto& r : records) bth.Add(r.first, &r.second);
    const uint32_t header = bth.Finish(&heap);
    HeapView view;
    EXPECT_TRUE(ParseHeap(heap.Serialize(), &view));
    const Bytes h = view.Item(header);
    EXPECT_EQ(h.size(), 8u);
    return view.Item(h[4] | h[5] << 8 | h[6] << 16 | h[7] << 24);
  };
  const Bytes expected{1, 0, 'a', 3, 0, 'b', 7, 0, 'c', 7, 0, 'd', 0, 1, 'e'};
  EXPECT_EQ(leaves({{7, 'c'}, {0x100, 'e'}, {3, 'b'}, {7, 'd'}, {1, 'a'}}), expected);
  EXPECT_EQ(leaves({{1, 'a'}, {3, 'b'}, {7, 'c'}, {7, 'd'}, {0x100, 'e'}}), expected);
}

}  // namespace
