#include "host/Replay.h"
#include "core/PaintManager.h"
#include "host/Png.h"
#include "host/UndoCheck.h"
#include "platform/imaging/kernels/Kernels.h"

#include <gtest/gtest.h>
#include <png.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

const std::filesystem::path kOutput = PAINTLAYER_TEST_OUTPUT;

struct RunResult {
    int status;
    std::string out;
    std::string errors;
};

RunResult RunProgram(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), "paint-replay");
    std::vector<const char*> argv;
    for (const std::string& argument : arguments)
        argv.push_back(argument.c_str());
    std::ostringstream out;
    std::ostringstream errors;
    const int status = RunReplay(static_cast<int>(argv.size()), argv.data(), out, errors);
    return {status, out.str(), errors.str()};
}

std::string WriteFile(const std::string& name, const std::string& text)
{
    const std::string path = (kOutput / name).string();
    std::ofstream(path) << text;
    return path;
}

/// The value behind a name that --stats prints.
std::string StatOf(const RunResult& run, const std::string& name)
{
    std::istringstream lines(run.out);
    for (std::string line; std::getline(lines, line);)
        if (line.rfind(name, 0) == 0)
            return line.substr(line.find_last_of(' ') + 1);
    return {};
}

/// The whole picture as RGBA rows.
std::vector<uint8_t> ReadPng(const std::string& path, int& width, int& height)
{
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    EXPECT_NE(png_image_begin_read_from_file(&image, path.c_str()), 0) << path;
    image.format = PNG_FORMAT_RGBA;
    std::vector<uint8_t> pixels(PNG_IMAGE_SIZE(image));
    EXPECT_NE(png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr), 0);
    width = static_cast<int>(image.width);
    height = static_cast<int>(image.height);
    return pixels;
}

std::string Arc(double perSecond)
{
    std::ostringstream text;
    for (int i = 0; i <= 2 * perSecond; ++i) {
        const double t = i / perSecond;
        text << t << ' ' << 100 + 60 * std::cos(2 * t) << ' ' << 100 + 60 * std::sin(2 * t) << " 0.7\n";
    }
    return text.str();
}

}  // namespace

TEST(Replay, RefusesBadRecordingsWithStatus2AndLeavesNoPicture)
{
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"empty.dat", "", "empty"},
        {"comments.dat", "# nothing\n\n", "no samples"},
        {"words.dat", "0 1 2 0.5\n0.1 1 two 0.5\n", ":2: \"two\""},
        {"short.dat", "0 1 2 0.5\n\n# note\n0.1 1 2\n", ":4: four numbers"},
        {"long.dat", "0 1 2 0.5 9\n", ":1: more than"},
        {"nan.dat", "0 1 2 0.5\n0.1 nan 2 0.5\n", ":2: \"nan\" is not a finite"},
        {"inf.dat", "0 1 -inf 0.5\n", ":1: \"-inf\""},
        {"pressure.dat", "0 1 2 1.5\n", ":1: the pressure"},
        {"time.dat", "1 1 2 1\n0.5 1 2 1\n", ":2: time runs backwards"},
    };
    const std::string picture = (kOutput / "refused.png").string();
    std::filesystem::remove(picture);
    for (const auto& [name, text, message] : cases) {
        const RunResult run = RunProgram({WriteFile(name, text), "-o", picture});
        EXPECT_EQ(run.status, 2) << name;
        EXPECT_NE(run.errors.find(message), std::string::npos) << name << ": " << run.errors;
        EXPECT_NE(run.errors.find(name), std::string::npos) << run.errors;
        EXPECT_FALSE(std::filesystem::exists(picture)) << name;
    }
    EXPECT_EQ(RunProgram({"no-such-file.dat", "-o", picture}).status, 2);
    EXPECT_EQ(RunProgram({kOutput.string(), "-o", picture}).status, 2) << "a directory";
    EXPECT_FALSE(std::filesystem::exists(picture));
}

TEST(Replay, RefusesBadOptionsAndUnwritablePictures)
{
    const std::string samples = WriteFile("good.dat", Arc(60));
    const std::string picture = (kOutput / "options.png").string();
    std::filesystem::remove(picture);
    const std::vector<std::string> cases[] = {{"--size", "0x5"},
                                              {"--size", "axb"},
                                              {"--size", "1000001x5"},
                                              {"--radius", "0"},
                                              {"--radius", "nan"},
                                              {"--opacity", "inf"},
                                              {"--color", "blue"},
                                              {"--symmetry", "twice"},
                                              {"--opacity", "2"},
                                              {"--layers", "-1"},
                                              {"--unknown"},
                                              {"--fill", "1,2,#fff"},
                                              {"--fill", "1,2,#fff,2"},
                                              {"--fill", "1,2,blue,0"},
                                              {"--fill", "-1,2,#fff,0"},
                                              {"--select", "1,2,3"},
                                              {"--select", "1,2,0,4"},
                                              {"--fill-growth", "-1"}};
    for (const std::vector<std::string>& options : cases) {
        std::vector<std::string> arguments{samples, "-o", picture};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const RunResult run = RunProgram(arguments);
        EXPECT_EQ(run.status, 2) << options.front() << ' ' << options.back();
        EXPECT_FALSE(run.errors.empty());
        EXPECT_FALSE(std::filesystem::exists(picture));
    }
    const std::string nowhere = (kOutput / "no-such-folder" / "x.png").string();
    const RunResult run = RunProgram({samples, "-o", nowhere});
    EXPECT_EQ(run.status, 2);
    EXPECT_NE(run.errors.find("no-such-folder"), std::string::npos);
    EXPECT_EQ(RunProgram({"--help"}).status, 0);
    EXPECT_EQ(PaintCore.GetLayerStackCount(), 0) << "every run closes its document";
}

TEST(Replay, PaintsWhereTheSamplesRunAndNowhereElse)
{
    const std::string samples = WriteFile("arc.dat", Arc(120));
    const std::string picture = (kOutput / "arc.png").string();
    const RunResult run =
        RunProgram({samples, "-o", picture, "--size", "200x190", "--radius", "5", "--color", "#ff0000", "--background",
                    "none", "--pressure", "none", "--hardness", "1", "--stats"});
    ASSERT_EQ(run.status, 0) << run.errors;
    int width = 0;
    int height = 0;
    const std::vector<uint8_t> pixels = ReadPng(picture, width, height);
    ASSERT_EQ(width, 200);
    ASSERT_EQ(height, 190);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const uint8_t* pixel = &pixels[static_cast<size_t>(4 * (y * width + x))];
            const double dx = x + 0.5 - 100;
            const double dy = y + 0.5 - 100;
            const double angle = std::atan2(dy, dx) < -1 ? std::atan2(dy, dx) + 2 * 3.14159265 : std::atan2(dy, dx);
            const double offRing = std::abs(std::hypot(dx, dy) - 60);
            if (angle > 0.05 && angle < 3.95 && offRing < 4) {
                ASSERT_EQ(pixel[3], 255) << x << ", " << y;
                ASSERT_EQ(pixel[0], 255);
                ASSERT_EQ(pixel[1], 0);
            }
            if (offRing > 6.5) {
                ASSERT_EQ(pixel[3], 0) << x << ", " << y;
            }
        }
    EXPECT_EQ(StatOf(run, "strokes"), "1");
    EXPECT_EQ(StatOf(run, "samples"), "241");
    EXPECT_GT(std::stoi(StatOf(run, "tiles updated")), 0);
}

TEST(Replay, TheSameRecordingGivesTheSameBytesWithAndWithoutLayersBelow)
{
    const std::string samples = WriteFile("same.dat", Arc(120));
    const std::string picture = (kOutput / "same.png").string();
    const RunResult first = RunProgram({samples, "-o", picture, "--stats", "--size", "256x256"});
    const RunResult again = RunProgram({samples, "-o", picture, "--stats", "--size", "256x256"});
    const RunResult twice = RunProgram({samples, "-o", picture, "--stats", "--size", "256x256", "--repeat", "2"});
    const RunResult layered = RunProgram({samples, "-o", picture, "--stats", "--size", "256x256", "--layers", "4"});
    EXPECT_EQ(StatOf(first, "plane hash").size(), 16U);
    EXPECT_EQ(StatOf(first, "plane hash"), StatOf(again, "plane hash"));
    EXPECT_NE(StatOf(first, "plane hash"), StatOf(layered, "plane hash"));
    EXPECT_EQ(std::stoi(StatOf(twice, "stamps")), 2 * std::stoi(StatOf(first, "stamps")));
}

TEST(Replay, TheRecordedSessionGivesTheSameBytesOnEveryCompilerAndInstructionSet)
{
    const std::string session = std::string(PAINTLAYER_TEST_DATA) + "/painting30sec.dat";
    const std::string picture = (kOutput / "session.png").string();
    const std::tuple<const char*, std::vector<std::string>> cases[] = {
        {"b48eb54d376425d9", {"--radius", "12", "--layers", "3", "--threads", "2"}},
        {"8241be73ee4f93df", {"--radius", "40", "--hardness", "0.2", "--opacity", "0.1", "--16bit"}},
        {"ff3fb3c77d4a9fd4", {"--radius", "7", "--marker", "--symmetry", "mirror:30,rotate:3", "--hardness", "1"}},
    };
    for (const auto& [hash, options] : cases)
        for (const kernels::KernelTable* const* table = kernels::GetAll(); *table != nullptr; ++table) {
            kernels::Use(*table);
            std::vector<std::string> arguments{session, "-o", picture, "--stats", "--size", "900x700"};
            arguments.insert(arguments.end(), options.begin(), options.end());
            const RunResult run = RunProgram(arguments);
            kernels::Use(nullptr);
            EXPECT_EQ(StatOf(run, "plane hash"), hash) << (*table)->name << ' ' << options[1] << run.errors;
        }
}

TEST(Png, KeepsStraightColoursAndBlendsOverTheBackground)
{
    ilMemoryImg image(3, 1, 4);
    image.SetPixel(0, 0, ilPixel::Rgba(100, 50, 0, 200));
    image.SetPixel(1, 0, ilPixel::Rgba(10, 20, 30, 255));
    const std::string path = (kOutput / "colours.png").string();
    int width = 0;
    int height = 0;
    ASSERT_EQ(WritePng(path, image, std::nullopt), "");
    const std::vector<uint8_t> straight = ReadPng(path, width, height);
    EXPECT_EQ(straight, (std::vector<uint8_t>{128, 64, 0, 200, 10, 20, 30, 255, 0, 0, 0, 0}));
    ASSERT_EQ(WritePng(path, image, PaintColor(1, 1, 1, 1)), "");
    const std::vector<uint8_t> over = ReadPng(path, width, height);
    EXPECT_EQ(over, (std::vector<uint8_t>{155, 105, 55, 255, 10, 20, 30, 255, 255, 255, 255, 255}));
}

TEST(Replay, EveryStrokeIsUndoneAndRedoneToTheSameBytes)
{
    const std::string samples = PAINTLAYER_TEST_DATA "/painting30sec.dat";
    const std::string picture = (kOutput / "undone.png").string();
    const RunResult plain = RunProgram({samples, "-o", picture, "--stats", "--layers", "2"});
    const RunResult undone = RunProgram({samples, "-o", picture, "--stats", "--layers", "2", "--undo"});
    EXPECT_EQ(undone.status, 0) << undone.errors;
    EXPECT_EQ(StatOf(undone, "plane hash"), StatOf(plain, "plane hash"));
    EXPECT_NE(StatOf(undone, "undo"), "");
    EXPECT_EQ(StatOf(plain, "undo"), "");
}

TEST(Replay, FillsReachWhatTheStrokesEncloseWithinTheSelectionAndAreUndone)
{
    std::string circle;
    for (int i = 0; i <= 400; ++i)
        circle += std::to_string(i / 100.0) + " " + std::to_string(100 + 60 * std::cos(i * 0.0160)) + " " +
                  std::to_string(100 + 60 * std::sin(i * 0.0160)) + " 1\n";
    const std::string samples = WriteFile("circle.dat", circle);
    const std::string picture = (kOutput / "filled.png").string();
    const auto paint = [&](std::vector<std::string> options) {
        std::vector<std::string> arguments{samples,    "-o",         picture,        "--size", "200x200",
                                           "--radius", "4",          "--background", "none",   "--color",
                                           "#0000ff",  "--pressure", "none",         "--undo"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const RunResult run = RunProgram(arguments);
        EXPECT_EQ(run.status, 0) << run.errors;
        int width = 0;
        int height = 0;
        return ReadPng(picture, width, height);
    };
    const auto at = [](const std::vector<uint8_t>& pixels, int x, int y) {
        const size_t i = static_cast<size_t>(4 * (y * 200 + x));
        return std::vector<int>(pixels.begin() + static_cast<ptrdiff_t>(i),
                                pixels.begin() + static_cast<ptrdiff_t>(i + 4));
    };
    const std::vector<int> red = {255, 0, 0, 255};
    const std::vector<int> nothing = {0, 0, 0, 0};
    const std::vector<uint8_t> filled = paint({"--fill", "100,100,#f00,0.1"});
    for (int angle = 0; angle < 360; angle += 15) {
        const double x = std::cos(angle * 0.01745);
        const double y = std::sin(angle * 0.01745);
        EXPECT_EQ(at(filled, static_cast<int>(100 + 50 * x), static_cast<int>(100 + 50 * y)), red) << angle;
        EXPECT_EQ(at(filled, static_cast<int>(100 + 70 * x), static_cast<int>(100 + 70 * y)), nothing) << angle;
        EXPECT_EQ(at(filled, static_cast<int>(100 + 60 * x), static_cast<int>(100 + 60 * y))[2], 255) << angle;
        for (int r = 50; r < 60; ++r)  // no gap between the fill and the line
            EXPECT_EQ(at(filled, static_cast<int>(100 + r * x), static_cast<int>(100 + r * y))[3], 255) << angle;
    }
    const std::vector<uint8_t> half = paint({"--select", "60,60,30,30", "--select", "60,110,30,20", "--fill",
                                             "70,70,#f00,0.1", "--fill", "70,120,#f00,0.1"});
    EXPECT_EQ(at(half, 70, 70), red);
    EXPECT_EQ(at(half, 70, 120), red);
    EXPECT_EQ(at(half, 70, 100), nothing) << "between the rectangles";
    EXPECT_EQ(at(half, 95, 70), nothing);
    const std::vector<uint8_t> grown = paint({"--fill", "100,100,#f00,0.1", "--fill-growth", "20"});
    EXPECT_EQ(at(grown, 172, 100), red) << "over the line and beyond";
    EXPECT_EQ(at(grown, 182, 100), nothing);
}

TEST(Replay, TheUndoCheckFindsWhatWasNotRecorded)
{
    PaintCore.AddLayerStack(64, 64);
    PaintCore.AddLayer({});
    {
        UndoCheck check;
        PaintCore.SuspendUndo(true);
        PaintCore.FillLayer({5, 7, 10, 10}, {1, 0, 0, 1});
        EXPECT_NE(check.Run().find("Nothing was recorded"), std::string::npos);
        PaintCore.SuspendUndo(false);
        PaintCore.FillLayer({30, 30, 10, 10}, {1, 0, 0, 1});
        EXPECT_NE(check.Run().find("first at pixel (5, 7)"), std::string::npos) << check.Run();
    }
    PaintCore.DeleteLayerStack(-2, false);
}
