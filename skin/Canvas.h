#pragma once

#include <cairo/cairo.h>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <utility>
#include <vector>

#include "skin/Palette.h"

namespace keldra::skin {

/// A finished picture: rows from the top, 32 bits a pixel as Cairo has them: alpha in the top byte,
/// then red, green and blue, each already multiplied by alpha.
struct Picture {
    int width = 0, height = 0;
    std::vector<std::uint32_t> pixels;

    Picture() = default;
    Picture(int theWidth, int theHeight);
    [[nodiscard]] std::uint32_t& At(int x, int y)
    {
        return pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                      static_cast<std::size_t>(x)];
    }
    [[nodiscard]] std::uint32_t At(int x, int y) const
    {
        return const_cast<Picture*>(this)->At(x, y);
    }
    /// Copies another picture, alpha included, with its top left corner at (x, y).
    void Put(const Picture& other, int x, int y);
    /// A fine grain over an opaque picture, the same in every run: keeps gradients from banding.
    void AddGrain();
    /// Adds to red, green and blue of one pixel, which stay within their limits.
    void Lighten(int x, int y, int levels);
};

struct Box {
    double x = 0, y = 0, width = 0, height = 0;

    [[nodiscard]] Box Inset(double by) const
    {
        return {x + by, y + by, width - 2 * by, height - 2 * by};
    }
    [[nodiscard]] Box Moved(double dx, double dy) const { return {x + dx, y + dy, width, height}; }
};

/// One colour of a gradient. @param at  0 .. 1 from its start to its end
struct Stop {
    double at;
    Ink ink;
};
using Stops = std::initializer_list<Stop>;

/// Something to draw on, in units of the finished picture's pixels. Drawn larger by a whole factor
/// and averaged down, so that what turns or glides does so smoothly.
class CCanvas {
public:
    explicit CCanvas(int width, int height, int oversampling = 1);

    [[nodiscard]] cairo_t* Cairo() { return context_.get(); }
    [[nodiscard]] Picture Finished() const;

    // Paths: replace the current one
    CCanvas& Rounded(const Box& box, double radius);
    CCanvas& Circle(double x, double y, double radius);
    CCanvas& Line(double x1, double y1, double x2, double y2);
    CCanvas& Polygon(std::initializer_list<std::pair<double, double>> points);

    // Fills and strokes of the current path, which stays
    CCanvas& Fill(Ink ink);
    CCanvas& FillDown(double top, double bottom, Stops stops);
    CCanvas& FillAcross(double left, double right, Stops stops);
    /// From a circle of radius `inner` around (x, y) outward to one of radius `outer`.
    CCanvas& FillAround(double x, double y, double inner, double outer, Stops stops);
    CCanvas& Stroke(Ink ink, double width);
    CCanvas& StrokeDown(double top, double bottom, Stops stops, double width);
    /// The path's blurred shape, `spread` pixels to each side.
    CCanvas& Glow(Ink ink, double spread, double dx = 0.0, double dy = 0.0);
    /// Darkness that the path's edge casts inward, as into a recess lit from above.
    CCanvas& InnerShadow(Ink ink, double spread, double dy);

    /// Colours each pixel inside the current path by a function of its place.
    CCanvas& FillEach(const std::function<Ink(double x, double y)>& inkAt);

    /// Prints in one colour through a mask: a byte a sample, `pitch` bytes from row to row, its top
    /// left corner on the sample (x, y).
    void Stamp(const unsigned char* mask, int width, int height, int pitch, int x, int y, Ink ink);

private:
    struct Deleter {
        void operator()(cairo_t* context) const { cairo_destroy(context); }
        void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
        void operator()(cairo_pattern_t* pattern) const { cairo_pattern_destroy(pattern); }
    };
    using CSurface = std::unique_ptr<cairo_surface_t, Deleter>;
    using CPattern = std::unique_ptr<cairo_pattern_t, Deleter>;

    CCanvas& FillWith(const CPattern& pattern);
    [[nodiscard]] CSurface Mask(bool inverted) const;

    int width_, height_, oversampling_;
    CSurface surface_;
    std::unique_ptr<cairo_t, Deleter> context_;
};

} // namespace keldra::skin
