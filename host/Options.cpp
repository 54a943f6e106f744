#include "Options.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <map>
#include <sstream>

namespace {

/// #RGB, #RRGGBB or #RRGGBBAA, with or without the #.
std::optional<PaintColor> ParseColor(std::string text)
{
    if (!text.empty() && text.front() == '#')
        text.erase(0, 1);
    if (text.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
        return std::nullopt;
    if (text.size() == 3)
        text = {text[0], text[0], text[1], text[1], text[2], text[2]};
    if (text.size() == 6)
        text += "ff";
    if (text.size() != 8)
        return std::nullopt;
    const auto byte = [&](size_t at) { return static_cast<uint8_t>(std::stoi(text.substr(at, 2), nullptr, 16)); };
    return PaintColor::FromBytes(byte(0), byte(2), byte(4), byte(6));
}

void SetColor(const std::string& text, PaintColor& color)
{
    const std::optional<PaintColor> parsed = ParseColor(text);
    if (!parsed)
        throw CLI::ValidationError("\"" + text + "\" is not a colour like #2a6df4");
    color = *parsed;
}

void SetSize(const std::string& text, ReplayOptions& options)
{
    char rest = 0;
    if (std::sscanf(text.c_str(), "%dx%d%c", &options.width, &options.height, &rest) != 2 || options.width < 1 ||
        options.height < 1)
        throw CLI::ValidationError("\"" + text + "\" is not a size like 1024x768");
}

/// mirror, mirror:DEGREES, rotate:N or both, joined by a comma.
void SetSymmetry(const std::string& text, ReplayOptions& options)
{
    std::istringstream parts(text);
    for (std::string part; std::getline(parts, part, ',');) {
        double degrees = 90;
        int order = 0;
        char rest = 0;
        if (part == "mirror" || std::sscanf(part.c_str(), "mirror:%lf%c", &degrees, &rest) == 1)
            options.mirrorAngle = degrees;
        else if (std::sscanf(part.c_str(), "rotate:%d%c", &order, &rest) == 1 && order >= 1 && order <= 64)
            options.rotations = order;
        else
            throw CLI::ValidationError("\"" + part + "\" is not mirror, mirror:DEGREES or rotate:N (N 1 to 64)");
    }
}

/// X,Y,W,H
ilTile ParseTile(const std::string& text)
{
    ilTile tile;
    char rest = 0;
    if (std::sscanf(text.c_str(), "%d,%d,%d,%d%c", &tile.x, &tile.y, &tile.nx, &tile.ny, &rest) != 4 || tile.nx < 1 ||
        tile.ny < 1)
        throw CLI::ValidationError("\"" + text + "\" is not a rectangle like 10,20,300,200");
    return tile;
}

/// X,Y,COLOR,TOLERANCE
FillRequest ParseFill(const std::string& text)
{
    FillRequest fill;
    char color[16] = {};
    char rest = 0;
    const bool isFill =
        std::sscanf(text.c_str(), "%d,%d,%15[^,],%lf%c", &fill.x, &fill.y, color, &fill.tolerance, &rest) == 4 &&
        fill.tolerance >= 0 && fill.tolerance <= 1;
    if (!isFill)
        throw CLI::ValidationError("\"" + text + "\" is not a fill like 120,80,#ffcc33,0.1");
    SetColor(color, fill.color);
    return fill;
}

/// A number from low to high; a NaN is none.
CLI::Validator Between(double low, double high)
{
    const auto check = [low, high](const std::string& text) {
        double value = 0;
        const bool isNumber = CLI::detail::lexical_cast(text, value) && value >= low && value <= high;
        std::ostringstream refusal;
        if (!isNumber)
            refusal << '"' << text << "\" is not a number from " << low << " to " << high;
        return refusal.str();
    };
    return CLI::Validator(check, "NUMBER");
}

void AddOptions(CLI::App& app, ReplayOptions& options)
{
    app.add_option("SAMPLES", options.samplesPath, "Recording: text lines `seconds x y pressure`")->required();
    app.add_option("-o,--output", options.picturePath, "The PNG to write")->required();
    app.add_option_function<std::string>(
        "--size", [&options](const std::string& text) { SetSize(text, options); }, "Canvas, WIDTHxHEIGHT [1024x768]");
    app.add_option("--radius", options.radius, "Radius of the stamp at full pressure, pixels")
        ->check(Between(0.1, 1280.0))
        ->capture_default_str();
    app.add_option_function<std::string>(
        "--color", [&options](const std::string& text) { SetColor(text, options.color); },
        "Paint, #RRGGBB or #RRGGBBAA");
    app.add_option("--opacity", options.opacity, "0 to 1")->check(Between(0.0, 1.0))->capture_default_str();
    app.add_option("--hardness", options.hardness, "0 to 1")->check(Between(0.0, 1.0))->capture_default_str();
    app.add_option("--spacing", options.spacing, "Distance of stamps in radii")
        ->check(Between(0.01, 10.0))
        ->capture_default_str();
    app.add_option("--scale", options.scale, "Scale of the recorded positions")
        ->check(Between(0.001, 1000.0))
        ->capture_default_str();
    const std::map<std::string, ReplayOptions::Pressure> pressures{{"size", ReplayOptions::Pressure::Size},
                                                                   {"opacity", ReplayOptions::Pressure::Opacity},
                                                                   {"both", ReplayOptions::Pressure::Both},
                                                                   {"none", ReplayOptions::Pressure::None}};
    app.add_option("--pressure", options.pressure, "What pressure changes: size, opacity, both or none [both]")
        ->transform(CLI::CheckedTransformer(pressures, CLI::ignore_case));
    app.add_flag("--16bit", options.use16Bit, "Paint with 16 bits (radius above 5)");
    app.add_flag("--marker", options.marker, "Strokes do not darken where they cross themselves");
    app.add_option_function<std::string>(
        "--symmetry", [&options](const std::string& text) { SetSymmetry(text, options); },
        "mirror, mirror:DEGREES, rotate:N, or two of them with a comma");
    app.add_option("--threads", options.threads, "Threads that compose large areas; the picture is the same")
        ->check(CLI::Range(1, 64))
        ->capture_default_str();
    app.add_option("--layers", options.layers, "Filled layers around the painted one")
        ->check(CLI::Range(0, 500))
        ->capture_default_str();
    app.add_option_function<std::string>(
        "--background",
        [&options](const std::string& text) {
            options.background.reset();
            if (text != "none")
                SetColor(text, options.background.emplace());
        },
        "Colour under the picture, or none for transparency [#ffffff]");
    app.add_option("--repeat", options.repeat, "Replays one over the other")
        ->check(CLI::Range(1, 100000))
        ->capture_default_str();
    app.add_option_function<std::vector<std::string>>(
           "--select",
           [&options](const std::vector<std::string>& texts) {
               for (const std::string& text : texts)
                   options.selections.push_back(ParseTile(text));
           },
           "X,Y,W,H: limits the fills to this rectangle of the canvas; again: to this one as well")
        ->delimiter('\0');
    app.add_option_function<std::vector<std::string>>(
           "--fill",
           [&options](const std::vector<std::string>& texts) {
               for (const std::string& text : texts)
                   options.fills.push_back(ParseFill(text));
           },
           "X,Y,COLOR,TOLERANCE: fills from this pixel after the strokes, tolerance 0 to 1; again: next")
        ->delimiter('\0');
    app.add_option("--fill-growth", options.fillGrowth, "Pixels that fills reach under what surrounds them")
        ->check(CLI::Range(0, 500))
        ->capture_default_str();
    app.add_flag("--undo", options.undo, "Undo all strokes at the end, redo them, and compare the pictures");
    app.add_flag("--stats", options.stats, "Print what was done and how long it took");
}

}  // namespace

ParsedOptions ParseOptions(int argc, const char* const* argv)
{
    CLI::App app("Replays recorded pen samples through the paint layer library into a PNG.", "paint-replay");
    ReplayOptions options;
    AddOptions(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        std::ostringstream out;
        std::ostringstream message;
        const bool isHelp = app.exit(error, out, message) == 0;
        return {std::nullopt, isHelp ? 0 : 2, isHelp ? out.str() : message.str()};
    }
    return {options, 0, {}};
}
