// Resident memory and start-up: prints one line a figure, `name: value unit`.

#include "BenchDocument.h"

#include <chrono>
#include <cstdio>

#include <unistd.h>

namespace {

double GetResidentMib()
{
    long pages = 0;
    long resident = 0;
    if (std::FILE* file = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(file, "%ld %ld", &pages, &resident) != 2)
            resident = 0;
        std::fclose(file);
    }
    return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / (1 << 20);
}

}  // namespace

/// Without arguments: the footprint of a 16384 × 16384 document. With `start`: opens a first document and leaves, for
/// timing from outside.
int main(int argc, char**)
{
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    const auto micros = [&](Clock::time_point from) {
        return std::chrono::duration<double, std::micro>(Clock::now() - from).count();
    };
    PaintCore.InitPaintManager();
    const BenchDocument first(64, 64);
    PaintCore.AddLayer({});
    if (argc > 1)
        return 0;
    std::printf("first_document: %.0f us\n", micros(start));
    std::printf("resident_small_document: %.2f MiB\n", GetResidentMib());
    const BenchDocument document(16384, 16384);
    PaintCore.AddLayer({});
    PaintCore.ForceUpdate();
    const double empty = GetResidentMib();
    std::printf("resident_empty_16384_document: %.2f MiB\n", empty);
    const auto layersStart = Clock::now();
    for (int i = 0; i < 50; ++i)
        PaintCore.AddLayer({});
    std::printf("empty_layer: %.2f us\n", micros(layersStart) / 50);
    std::printf("empty_layer_resident: %.2f KiB\n", (GetResidentMib() - empty) * 1024 / 50);
    std::printf("resident_with_50_layers: %.2f MiB\n", GetResidentMib());
}
