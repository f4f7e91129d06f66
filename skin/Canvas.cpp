#include "skin/Canvas.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

namespace keldra::skin {

namespace {

constexpr double kPi = std::numbers::pi;

void SetSource(cairo_t* cairo, const Ink& ink)
{
    cairo_set_source_rgba(cairo, ink.red, ink.green, ink.blue, ink.alpha);
}

void AddStops(cairo_pattern_t* pattern, Stops stops)
{
    for (const auto& [at, ink] : stops)
        cairo_pattern_add_color_stop_rgba(pattern, at, ink.red, ink.green, ink.blue, ink.alpha);
}

/// One pass of a running mean over `length` bytes that lie `stride` apart; outside it is dark.
void BlurLine(unsigned char* bytes, int length, std::ptrdiff_t stride, int radius,
              std::vector<unsigned char>& copy)
{
    copy.resize(static_cast<std::size_t>(length));
    for (int i = 0; i < length; ++i)
        copy[static_cast<std::size_t>(i)] = bytes[i * stride];
    const auto at = [&](int i) {
        return i < 0 || i >= length ? 0 : static_cast<int>(copy[static_cast<std::size_t>(i)]);
    };
    const int window = 2 * radius + 1;
    int sum = 0;
    for (int i = -radius; i < radius; ++i)
        sum += at(i);
    for (int i = 0; i < length; ++i) {
        sum += at(i + radius);
        bytes[i * stride] = static_cast<unsigned char>((sum + radius) / window);
        sum -= at(i - radius);
    }
}

/// Three running means are close to a Gaussian that is dark `reach` pixels away.
void Blur(cairo_surface_t* mask, int reach)
{
    const int radius = reach / 3;
    if (radius < 1)
        return;
    cairo_surface_flush(mask);
    unsigned char* bytes = cairo_image_surface_get_data(mask);
    const int width = cairo_image_surface_get_width(mask);
    const int height = cairo_image_surface_get_height(mask);
    const std::ptrdiff_t stride = cairo_image_surface_get_stride(mask);
    std::vector<unsigned char> copy;
    for (int pass = 0; pass < 3; ++pass) {
        for (int y = 0; y < height; ++y)
            BlurLine(bytes + y * stride, width, 1, radius, copy);
        for (int x = 0; x < width; ++x)
            BlurLine(bytes + x, height, stride, radius, copy);
    }
    cairo_surface_mark_dirty(mask);
}

unsigned ByteFrom(double value)
{
    return static_cast<unsigned>(std::clamp(value, 0.0, 1.0) * 255.0 + 0.5);
}

} // namespace

Picture::Picture(int theWidth, int theHeight)
    : width(theWidth),
      height(theHeight),
      pixels(static_cast<std::size_t>(theWidth) * static_cast<std::size_t>(theHeight))
{
}

void Picture::Put(const Picture& other, int x, int y)
{
    for (int row = 0; row < other.height; ++row)
        for (int column = 0; column < other.width; ++column)
            At(x + column, y + row) = other.At(column, row);
}

void Picture::Lighten(int x, int y, int levels)
{
    std::uint32_t& pixel = At(x, y);
    std::uint32_t changed = pixel & 0xff000000u;
    for (int shift = 0; shift < 24; shift += 8) {
        const int level = static_cast<int>(pixel >> shift & 255) + levels;
        changed |= static_cast<std::uint32_t>(std::clamp(level, 0, 255)) << shift;
    }
    pixel = changed;
}

void Picture::AddGrain()
{
    std::uint32_t random = 22222;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            random = random * 196314165u + 907633515u;
            Lighten(x, y, static_cast<int>((random >> 16) % 3) - 1);
        }
    }
}

CCanvas::CCanvas(int width, int height, int oversampling)
    : width_(width),
      height_(height),
      oversampling_(oversampling),
      surface_(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width * oversampling,
                                          height * oversampling)),
      context_(cairo_create(surface_.get()))
{
    cairo_scale(context_.get(), oversampling, oversampling);
}

Picture CCanvas::Finished() const
{
    cairo_surface_flush(surface_.get());
    const unsigned char* bytes = cairo_image_surface_get_data(surface_.get());
    const std::ptrdiff_t stride = cairo_image_surface_get_stride(surface_.get());
    const unsigned samples = static_cast<unsigned>(oversampling_ * oversampling_);

    Picture picture(width_, height_);
    for (int y = 0; y < height_; ++y) {
        for (int x = 0; x < width_; ++x) {
            unsigned sums[4] = {};
            for (int row = 0; row < oversampling_; ++row) {
                const unsigned char* sample = bytes + (y * oversampling_ + row) * stride +
                                              static_cast<std::ptrdiff_t>(x) * oversampling_ * 4;
                for (int i = 0; i < 4 * oversampling_; ++i)
                    sums[i % 4] += sample[i];
            }
            std::uint32_t pixel = 0;
            for (int channel = 3; channel >= 0; --channel)
                pixel = pixel << 8 | (sums[channel] + samples / 2) / samples;
            picture.At(x, y) = pixel;
        }
    }
    return picture;
}

CCanvas& CCanvas::Rounded(const Box& box, double radius)
{
    cairo_t* cairo = Cairo();
    cairo_new_path(cairo);
    if (radius <= 0.0) {
        cairo_rectangle(cairo, box.x, box.y, box.width, box.height);
        return *this;
    }
    const double left = box.x + radius;
    const double right = box.x + box.width - radius;
    const double top = box.y + radius;
    const double foot = box.y + box.height - radius;
    cairo_arc(cairo, right, top, radius, -0.5 * kPi, 0.0);
    cairo_arc(cairo, right, foot, radius, 0.0, 0.5 * kPi);
    cairo_arc(cairo, left, foot, radius, 0.5 * kPi, kPi);
    cairo_arc(cairo, left, top, radius, kPi, 1.5 * kPi);
    cairo_close_path(cairo);
    return *this;
}

CCanvas& CCanvas::Circle(double x, double y, double radius)
{
    cairo_new_path(Cairo());
    cairo_arc(Cairo(), x, y, radius, 0.0, 2.0 * kPi);
    cairo_close_path(Cairo());
    return *this;
}

CCanvas& CCanvas::Line(double x1, double y1, double x2, double y2)
{
    cairo_new_path(Cairo());
    cairo_move_to(Cairo(), x1, y1);
    cairo_line_to(Cairo(), x2, y2);
    return *this;
}

CCanvas& CCanvas::Polygon(std::initializer_list<std::pair<double, double>> points)
{
    cairo_new_path(Cairo());
    for (const auto& [x, y] : points)
        cairo_line_to(Cairo(), x, y);
    cairo_close_path(Cairo());
    return *this;
}

CCanvas& CCanvas::Fill(Ink ink)
{
    SetSource(Cairo(), ink);
    cairo_fill_preserve(Cairo());
    return *this;
}

CCanvas& CCanvas::FillWith(const CPattern& pattern)
{
    cairo_set_source(Cairo(), pattern.get());
    cairo_fill_preserve(Cairo());
    return *this;
}

CCanvas& CCanvas::FillDown(double top, double bottom, Stops stops)
{
    const CPattern pattern(cairo_pattern_create_linear(0.0, top, 0.0, bottom));
    AddStops(pattern.get(), stops);
    return FillWith(pattern);
}

CCanvas& CCanvas::FillAcross(double left, double right, Stops stops)
{
    const CPattern pattern(cairo_pattern_create_linear(left, 0.0, right, 0.0));
    AddStops(pattern.get(), stops);
    return FillWith(pattern);
}

CCanvas& CCanvas::FillAround(double x, double y, double inner, double outer, Stops stops)
{
    const CPattern pattern(cairo_pattern_create_radial(x, y, inner, x, y, outer));
    AddStops(pattern.get(), stops);
    return FillWith(pattern);
}

CCanvas& CCanvas::Stroke(Ink ink, double width)
{
    SetSource(Cairo(), ink);
    cairo_set_line_width(Cairo(), width);
    cairo_stroke_preserve(Cairo());
    return *this;
}

CCanvas& CCanvas::StrokeDown(double top, double bottom, Stops stops, double width)
{
    const CPattern pattern(cairo_pattern_create_linear(0.0, top, 0.0, bottom));
    AddStops(pattern.get(), stops);
    cairo_set_source(Cairo(), pattern.get());
    cairo_set_line_width(Cairo(), width);
    cairo_stroke_preserve(Cairo());
    return *this;
}

CCanvas::CSurface CCanvas::Mask(bool inverted) const
{
    CSurface mask(cairo_image_surface_create(CAIRO_FORMAT_A8, width_ * oversampling_,
                                             height_ * oversampling_));
    const std::unique_ptr<cairo_t, Deleter> context(cairo_create(mask.get()));
    if (inverted) {
        cairo_paint(context.get());
        cairo_set_operator(context.get(), CAIRO_OPERATOR_CLEAR);
    }
    cairo_scale(context.get(), oversampling_, oversampling_);
    cairo_path_t* path = cairo_copy_path(context_.get());
    cairo_append_path(context.get(), path);
    cairo_path_destroy(path);
    cairo_fill(context.get());
    return mask;
}

CCanvas& CCanvas::Glow(Ink ink, double spread, double dx, double dy)
{
    const CSurface mask = Mask(false);
    Blur(mask.get(), static_cast<int>(std::lround(spread * oversampling_)));
    cairo_save(Cairo());
    cairo_identity_matrix(Cairo());
    SetSource(Cairo(), ink);
    cairo_mask_surface(Cairo(), mask.get(), dx * oversampling_, dy * oversampling_);
    cairo_restore(Cairo());
    return *this;
}

CCanvas& CCanvas::InnerShadow(Ink ink, double spread, double dy)
{
    const CSurface mask = Mask(true);
    Blur(mask.get(), static_cast<int>(std::lround(spread * oversampling_)));
    cairo_path_t* path = cairo_copy_path(Cairo());
    cairo_save(Cairo());
    cairo_clip(Cairo());
    cairo_identity_matrix(Cairo());
    SetSource(Cairo(), ink);
    cairo_mask_surface(Cairo(), mask.get(), 0.0, dy * oversampling_);
    cairo_restore(Cairo());
    cairo_new_path(Cairo());
    cairo_append_path(Cairo(), path);
    cairo_path_destroy(path);
    return *this;
}

CCanvas& CCanvas::FillEach(const std::function<Ink(double x, double y)>& inkAt)
{
    const CSurface colours(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width_ * oversampling_,
                                                      height_ * oversampling_));
    unsigned char* bytes = cairo_image_surface_get_data(colours.get());
    const std::ptrdiff_t stride = cairo_image_surface_get_stride(colours.get());
    double left = 0, top = 0, right = 0, bottom = 0;
    cairo_fill_extents(Cairo(), &left, &top, &right, &bottom);
    const auto first = [&](double edge) {
        return std::max(0, static_cast<int>(std::floor(edge * oversampling_)));
    };
    const int lastX =
        std::min(width_ * oversampling_, static_cast<int>(std::ceil(right * oversampling_)));
    const int lastY =
        std::min(height_ * oversampling_, static_cast<int>(std::ceil(bottom * oversampling_)));
    for (int y = first(top); y < lastY; ++y) {
        for (int x = first(left); x < lastX; ++x) {
            const Ink ink = inkAt((x + 0.5) / oversampling_, (y + 0.5) / oversampling_);
            const std::uint32_t pixel =
                ByteFrom(ink.alpha) << 24 | ByteFrom(ink.red * ink.alpha) << 16 |
                ByteFrom(ink.green * ink.alpha) << 8 | ByteFrom(ink.blue * ink.alpha);
            std::memcpy(bytes + y * stride + static_cast<std::ptrdiff_t>(x) * 4, &pixel, 4);
        }
    }
    cairo_surface_mark_dirty(colours.get());
    const CPattern pattern(cairo_pattern_create_for_surface(colours.get()));
    cairo_pattern_set_filter(pattern.get(), CAIRO_FILTER_NEAREST);
    cairo_matrix_t toSamples;
    cairo_matrix_init_scale(&toSamples, oversampling_, oversampling_);
    cairo_pattern_set_matrix(pattern.get(), &toSamples);
    return FillWith(pattern);
}

void CCanvas::Stamp(const unsigned char* mask, int width, int height, int pitch, int x, int y,
                    Ink ink)
{
    if (width <= 0 || height <= 0)
        return;
    const CSurface copy(cairo_image_surface_create(CAIRO_FORMAT_A8, width, height));
    unsigned char* bytes = cairo_image_surface_get_data(copy.get());
    const std::ptrdiff_t stride = cairo_image_surface_get_stride(copy.get());
    for (int row = 0; row < height; ++row)
        std::memcpy(bytes + row * stride, mask + static_cast<std::ptrdiff_t>(row) * pitch,
                    static_cast<std::size_t>(width));
    cairo_surface_mark_dirty(copy.get());
    cairo_save(Cairo());
    cairo_identity_matrix(Cairo());
    SetSource(Cairo(), ink);
    cairo_mask_surface(Cairo(), copy.get(), x, y);
    cairo_restore(Cairo());
}

} // namespace keldra::skin
