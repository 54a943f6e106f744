#include "layers/LayerIterator.h"
#include "layers/LayerStackIterator.h"
#include "tests/layers/FakeDocument.h"

#include <gtest/gtest.h>

namespace {

/// Documents in slots 3 and 511; the one in slot 3 has some containers of each mode.
class IteratorTest : public testing::Test {
protected:
    IteratorTest()
    {
        containers = {};
        slots = {3, 511};
        for (auto& mode : containers)
            mode.resize(2);
        DocumentPort& port = GetDocumentPort();
        port.GetContainerHandles = [](int layerStack, int mode) {
            return layerStack == 3 ? containers[static_cast<size_t>(mode)] : qs::vector<PntHandle>();
        };
        port.GetLayerStackCount = [] { return static_cast<int>(slots.size()); };
        port.GetUsedSlotFrom = [](int from) {
            const auto found = slots.lower_bound(from);
            return found == slots.end() ? -1 : *found;
        };
        port.IsHandleValid = [](const PntHandle& handle) { return handle == containers[0][0]; };
        port.GetNextLayer = [](const PntHandle&) { return containers[0][1]; };
    }

    static qs::vector<PntHandle> Walk(LayerIterator& iterator)
    {
        qs::vector<PntHandle> met;
        for (PntHandle next = iterator.Next(); next != kNullHandle; next = iterator.Next())
            met.push_back(next);
        return met;
    }

    static inline std::array<qs::vector<PntHandle>, 3> containers;  // by mode
    static inline qs::set<int> slots;
    FakeDocument document_;  // brings the port back
};

}  // namespace

TEST_F(IteratorTest, LayersComeByModeImagesFirstAndResetLooksAgain)
{
    for (int flags = 0; flags < 8; ++flags) {
        qs::vector<PntHandle> expected;
        for (size_t mode = 0; mode < 3; ++mode)
            if ((flags & 1 << mode) != 0)
                expected.insert(expected.end(), containers[mode].begin(), containers[mode].end());
        LayerIterator iterator(3, (flags & 1) != 0, (flags & 2) != 0, (flags & 4) != 0);
        LayerIterator copy = iterator;
        EXPECT_EQ(Walk(iterator), expected) << flags;
        EXPECT_EQ(iterator.Next(), kNullHandle);
        EXPECT_EQ(Walk(copy), expected) << "a copy goes on by itself";
    }
    LayerIterator iterator(3, true, false, false), elsewhere(4, true, true, true);
    EXPECT_EQ(elsewhere.Next(), kNullHandle);
    containers[0].push_back(PntHandle());
    iterator.Reset();
    EXPECT_EQ(Walk(iterator), containers[0]);
    // Neighbours are asked for of valid handles only.
    EXPECT_EQ(LayerIterator::GetNextLayer(containers[0][0]), containers[0][1]);
    EXPECT_EQ(LayerIterator::GetPrevLayer(containers[0][0]), kNullHandle);
    EXPECT_EQ(LayerIterator::GetNextLayer(containers[0][1]), kNullHandle);
}

TEST_F(IteratorTest, DocumentsComeBySlot)
{
    LayerStackIterator iterator;
    EXPECT_EQ(iterator.Count(), 2);
    EXPECT_EQ(iterator.Next(), 3);
    EXPECT_EQ(iterator.CountRemaining(), 1);
    EXPECT_EQ(iterator.Next(), 511);
    EXPECT_EQ(iterator.Next(), -1);
    iterator.Reset();
    EXPECT_EQ(iterator.Next(), 3);
    slots.clear();  // closed during the walk
    EXPECT_EQ(iterator.Next(), -1);
    EXPECT_EQ(iterator.CountRemaining(), 0);
}
