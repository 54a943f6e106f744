#pragma once

#include "core/PaintManager.h"
#include "platform/imaging/pages/PageAllocator.h"
#include "platform/imaging/strokes/ImageCoreCB.h"
#include "undo/UndoStore.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <string>

/// The host's timers, which run only when a test says so.
class FakeTimers {
public:
    static void Install()
    {
        timers().clear();
        nowMs = 0;
        ImageCoreCB()->StartTimerCB = [](int ms, ImageCoreCallbacks::TimerFunction function, int) {
            timers()[++lastId] = {nowMs + ms, ms, function};
            return lastId;
        };
        ImageCoreCB()->StopTimerCB = [](int id) { timers().erase(id); };
    }

    static void Remove()
    {
        timers().clear();
        ImageCoreCB()->StartTimerCB = nullptr;
        ImageCoreCB()->StopTimerCB = nullptr;
    }

    static void Advance(int ms)
    {
        const int until = nowMs + ms;
        while (!timers().empty()) {
            const auto next = std::min_element(timers().begin(), timers().end(), [](const auto& a, const auto& b) {
                return a.second.dueMs < b.second.dueMs;
            });
            if (next->second.dueMs > until)
                break;
            nowMs = next->second.dueMs;
            next->second.dueMs += next->second.intervalMs;
            next->second.function(next->first);
        }
        nowMs = until;
    }

    static int Count() { return static_cast<int>(timers().size()); }

private:
    struct Timer {
        int dueMs;
        int intervalMs;
        ImageCoreCallbacks::TimerFunction function;
    };
    static std::map<int, Timer>& timers()
    {
        static std::map<int, Timer> all;
        return all;
    }
    static inline int lastId = 0;
    static inline int nowMs = 0;
};

/// A view that counts its calls and can do something from inside one.
class FakeView : public LayerStackView {
public:
    void UpdateView(qs::TempReference<ilSPMemoryImg>) override
    {
        ++updates;
        if (onUpdate)
            onUpdate();
    }
    void BeginTimerBasedUpdate(int intervalMs) override
    {
        interval = intervalMs;
        ++begins;
    }
    void EndTimerBasedUpdate() override { ++ends; }
    void CheckTimerBasedUpdate() override
    {
        ++checks;
        if (onCheck)
            onCheck();
    }

    std::function<void()> onUpdate;
    std::function<void()> onCheck;
    int updates = 0;
    int interval = -1;
    int begins = 0;
    int ends = 0;
    int checks = 0;
};

/// A store that writes down the primary ids of what it keeps; the process's for as long as it lives.
class FakeStore : public PntUndoDatabase {
public:
    FakeStore() : before_(ExchangeUndoDatabase(this)) {}
    ~FakeStore() override { ExchangeUndoDatabase(before_); }

    bool AddUndoOperation(qs::Reference<PntUndoOper> record) override
    {
        told += std::string(record->GetID(0)) + ' ';
        return PntUndoDatabase::AddUndoOperation(record);
    }

    std::string told;

private:
    PntUndoDatabase* before_;
};

/// PaintCore as a process has it at its start, but for numbers and names given out.
class PaintCoreTest : public testing::Test {
protected:
    void SetUp() override
    {
        FakeTimers::Install();
        CloseAll();
    }

    void TearDown() override
    {
        PaintCore.EndBrushStroke();
        PaintCore.SetCallbacks({});
        for (qsRTB::Connection& connection : connections_)
            connection.Disconnect();
        CloseAll();
        PaintCore.overrideProfile({});
        PaintCore.SetColorSwizle(false);
        PaintCore.SetStrokeParameters({});
        PaintCore.SetBrushParameters({}, true);
        PaintCore.SetEffectBrush(nullptr);
        PaintCore.EnableBrushFeedback(false);
        PaintCore.SetLogUndoOper(true);
        PaintCore.SuspendUndo(false);
        PaintCore.FlushUndoQueue();
        delete ExchangeUndoDatabase(nullptr);
        FakeTimers::Remove();
        told().clear();
    }

    static void CloseAll()
    {
        for (int i = 0; i < PaintManager::kMaxLayerStacks; ++i)
            PaintCore.DeleteLayerStack(i, false);
    }

    /// A document with one empty image layer, which is current.
    static int Open(int width = 200, int height = 150)
    {
        const int handle = PaintCore.AddLayerStack(width, height);
        PaintCore.AddLayer({});
        return handle;
    }

    static LayerStack& Stack() { return *PaintCore.GetLayerStack(PaintManager::kCurrentLayerStack); }
    static ilMIOImage& Image() { return *Stack().GetCurrentLayerPtr()->GetImage(); }

    static void SetBrush(float radiusPx, PaintColor color = {0, 0, 0, 1}, float hardness = 1)
    {
        BrushParameters brush;
        brush.color = color;
        brush.profile.hardness = hardness;
        brush.firstSize = radiusPx;
        brush.secondSize = radiusPx;
        PaintCore.SetBrushParameters(brush, true);
    }

    static void Sample(float x, float y, float size = 10, float opacity = 1, float aspect = 1, float rotation = 0)
    {
        PaintCore.AddStrokePoint(x, y, size, opacity, aspect, rotation, false, false);
    }

    static void Dab(float x, float y, float size = 10, float opacity = 1, float aspect = 1, float rotation = 0)
    {
        PaintCore.BeginBrushStroke(false);
        Sample(x, y, size, opacity, aspect, rotation);
        PaintCore.EndBrushStroke();
    }

    static void Line(float x0, float y0, float x1, float y1, float size = 10, float opacity = 1)
    {
        PaintCore.BeginBrushStroke(false);
        for (int i = 0; i <= 8; ++i)
            Sample(x0 + (x1 - x0) * static_cast<float>(i) / 8, y0 + (y1 - y0) * static_cast<float>(i) / 8, size,
                   opacity);
        PaintCore.EndBrushStroke();
    }

    static qs::vector<uint8_t> BytesOf(const ilImage& image, const ilTile& tile)
    {
        const int channels = image.GetNumChannels();
        qs::vector<uint8_t> bytes(static_cast<size_t>(tile.Area()) * static_cast<size_t>(channels));
        image.ReadTile(tile, bytes.data(), ptrdiff_t{tile.nx} * channels);
        return bytes;
    }
    static qs::vector<uint8_t> LayerBytes() { return BytesOf(Image(), Stack().GetSize()); }
    static qs::vector<uint8_t> PlaneBytes() { return BytesOf(*PaintCore.GetImagePlane(), Stack().GetSize()); }

    /// The picture composed afresh, which must be what the image plane shows while no mask overlay is.
    static qs::vector<uint8_t> ComposedBytes() { return BytesOf(*PaintCore.GetCompositeImage(), Stack().GetSize()); }

    static uint8_t AlphaAt(int x, int y) { return Image().GetPixel(x, y).GetAlpha(); }

    /// What host callbacks and slots noted, in order.
    static std::string& told()
    {
        static std::string text;
        return text;
    }
    static void Tell(const std::string& what) { told() += (told().empty() ? "" : " ") + what; }

    template <class Signal, class Slot>
    void Connect(Signal& signal, Slot slot)
    {
        connections_.push_back(signal.Connect(slot));
    }

private:
    std::vector<qsRTB::Connection> connections_;
};

/// Stands in for the memory of pages and refuses to give any from a count of pages on.
class ScarceMemory : public PageMemoryPort {
public:
    explicit ScarceMemory(int pagesLeft) : pagesLeft_(pagesLeft) { PageAllocator::SetPort(this); }
    ~ScarceMemory() override { PageAllocator::SetPort(nullptr); }
    ScarceMemory(const ScarceMemory&) = delete;
    ScarceMemory& operator=(const ScarceMemory&) = delete;

    uint8_t* Allocate(size_t bytes) override
    {
        if (pagesLeft_ <= 0) {
            ++refused;
            throw std::bad_alloc();
        }
        --pagesLeft_;
        PageAllocator::SetPort(nullptr);
        uint8_t* block = PageAllocator::Allocate(bytes);
        PageAllocator::SetPort(this);
        return block;
    }
    void Free(uint8_t* block, size_t bytes) noexcept override
    {
        PageAllocator::SetPort(nullptr);
        PageAllocator::Free(block, bytes);
        PageAllocator::SetPort(this);
    }

    int refused = 0;

private:
    int pagesLeft_;
};
