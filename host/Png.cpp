#include "Png.h"

#include <png.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

namespace {

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

uint8_t Straight(int component, int alpha)
{
    return static_cast<uint8_t>(alpha == 0 ? 0 : std::min(255, (component * 255 + alpha / 2) / alpha));
}

/// Turns a premultiplied row into what the file holds: RGB over the background, or straight RGBA.
void ConvertRow(const uint8_t* in, int width, const std::optional<ilPixel>& background, std::vector<uint8_t>& out)
{
    out.clear();
    for (int x = 0; x < width; ++x, in += 4)
        for (int c = 0; c < (background ? 3 : 4); ++c) {
            if (background)
                out.push_back(static_cast<uint8_t>(in[c] + (background->GetComponent(c) * (255 - in[3]) + 127) / 255));
            else
                out.push_back(c == 3 ? in[3] : Straight(in[c], in[3]));
        }
}

/// The libpng calls, in a function of its own: its errors come back by longjmp, past no destructor.
bool WriteRows(png_structp png, png_infop info, std::FILE* file, const ilMemoryImg& image,
               const std::optional<ilPixel>& background, std::vector<uint8_t>& row)
{
    if (setjmp(png_jmpbuf(png)) != 0)
        return false;
    png_init_io(png, file);
    png_set_IHDR(png, info, static_cast<png_uint_32>(image.GetWidth()), static_cast<png_uint_32>(image.GetHeight()), 8,
                 background ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_RGBA, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    for (int y = 0; y < image.GetHeight(); ++y) {
        ConvertRow(image.GetRow(y), image.GetWidth(), background, row);
        png_write_row(png, row.data());
    }
    png_write_end(png, info);
    return true;
}

}  // namespace

std::string WritePng(const std::string& path, const ilMemoryImg& image, const std::optional<PaintColor>& background)
{
    const std::string partial = path + ".part";
    std::unique_ptr<std::FILE, FileCloser> file(std::fopen(partial.c_str(), "wb"));
    if (!file)
        return path + ": " + std::strerror(errno);
    std::optional<ilPixel> opaque;
    if (background)
        opaque = PaintColor(background->r, background->g, background->b, 1).Premultiplied();
    std::vector<uint8_t> row;
    row.reserve(static_cast<size_t>(image.GetWidth()) * 4);
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;
    const bool written = info != nullptr && WriteRows(png, info, file.get(), image, opaque, row);
    png_destroy_write_struct(&png, &info);
    const bool flushed = std::fclose(file.release()) == 0;
    if (written && flushed && std::rename(partial.c_str(), path.c_str()) == 0)
        return {};
    const std::string reason = std::strerror(errno);
    std::remove(partial.c_str());
    return path + ": " + (written ? reason : "the picture could not be written");
}
