// The name in letters of our own: strokes of one width, an E of three bars, an A without its bar.

#include <numbers>

#include "skin/Pictures.h"

namespace keldra::skin {

double DrawWordmark(CCanvas& canvas, double x, double y, double height, bool engraved)
{
    cairo_t* cairo = canvas.Cairo();
    const double stroke = height * 0.15;
    const double width = height * 0.86; // of a letter
    const double gap = height * 0.46;
    const double half = 0.5 * stroke;
    const double top = y + half, middle = y + 0.5 * height, foot = y + height - half;

    cairo_new_path(cairo);
    double left = x + half;
    const auto next = [&] { left += width + gap; };
    const auto right = [&] { return left + width - stroke; };

    // K
    cairo_move_to(cairo, left, y);
    cairo_line_to(cairo, left, y + height);
    cairo_move_to(cairo, right(), y + 0.1 * half);
    cairo_line_to(cairo, left + 1.6 * stroke, middle);
    cairo_line_to(cairo, right(), y + height - 0.1 * half);
    next();
    // E
    for (const double bar : {top, middle, foot}) {
        cairo_move_to(cairo, left - half, bar);
        cairo_line_to(cairo, right() + half, bar);
    }
    next();
    // L
    cairo_move_to(cairo, left, y);
    cairo_line_to(cairo, left, foot);
    cairo_line_to(cairo, right() + half, foot);
    next();
    // D
    const double bow = 0.5 * (foot - top);
    cairo_move_to(cairo, left, top);
    cairo_line_to(cairo, right() - bow, top);
    cairo_arc(cairo, right() - bow, middle, bow, -0.5 * std::numbers::pi, 0.5 * std::numbers::pi);
    cairo_line_to(cairo, left, foot);
    cairo_close_path(cairo);
    next();
    // R
    const double waist = y + 0.58 * height;
    const double eye = 0.5 * (waist - top);
    cairo_move_to(cairo, left, y + height);
    cairo_line_to(cairo, left, top);
    cairo_line_to(cairo, right() - eye, top);
    cairo_arc(cairo, right() - eye, top + eye, eye, -0.5 * std::numbers::pi,
              0.5 * std::numbers::pi);
    cairo_line_to(cairo, left, waist);
    cairo_move_to(cairo, left + 0.42 * width, waist);
    cairo_line_to(cairo, right() + 0.1 * half, y + height);
    next();
    // A
    cairo_move_to(cairo, left - 0.2 * half, y + height);
    cairo_line_to(cairo, left + 0.5 * (width - stroke), y + 0.9 * half);
    cairo_line_to(cairo, right() + 0.2 * half, y + height);

    cairo_set_line_join(cairo, CAIRO_LINE_JOIN_MITER);
    cairo_set_line_cap(cairo, CAIRO_LINE_CAP_BUTT);
    if (engraved) {
        cairo_save(cairo);
        cairo_path_t* path = cairo_copy_path(cairo);
        cairo_new_path(cairo);
        cairo_translate(cairo, 0.0, -1.0);
        cairo_append_path(cairo, path);
        canvas.Stroke(kBlack.Faded(0.8), stroke);
        cairo_new_path(cairo);
        cairo_translate(cairo, 0.0, 2.0);
        cairo_append_path(cairo, path);
        canvas.Stroke(kWhite.Faded(0.14), stroke);
        cairo_restore(cairo);
        cairo_new_path(cairo);
        cairo_append_path(cairo, path);
        cairo_path_destroy(path);
    }
    canvas.StrokeDown(y, y + height,
                      {{0.0, Bytes(255, 240, 206)},
                       {0.45, Bytes(226, 194, 136)},
                       {0.55, Bytes(190, 154, 96)},
                       {1.0, Bytes(222, 188, 128)}},
                      stroke);
    return left + width - half - x;
}

} // namespace keldra::skin
