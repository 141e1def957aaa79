/* Draws the editor panel's artwork, 5000.png ... 5020.png, with cairo and writes a C++ source
 * that embeds the PNG bytes in the plug-in. Each image is drawn at 1x and again at 2x, 3x and 4x
 * ("5000@2x.png": twice as many pixels each way) for HiDPI screens; the drawing is the same
 * vector drawing at a finer pixel grid, not an enlargement.
 *
 * Usage: gen_images OUTDIR OUT.cpp
 *
 * Everything is vector drawing plus a seeded noise texture, so two runs give the same pixels
 * (given the same fonts). Coordinates are panel pixels, origin top left, y down; angles of the
 * knob film strip are degrees measured clockwise from straight down.
 */
#include <cairo.h>
#include <math.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "PanelLayout.h"

#ifndef M_PI
#define M_PI 3.14159265358979323846
#endif

/* ---------------------------------------------------------------- palette and sizes */

typedef struct
{
    double r, g, b;
} Rgb;

/* Anodised panel face; the knob and fader images use this exact colour outside their artwork,
 * so the panel around them carries only a zero-mean grain of about one level. */
static const Rgb kPanel = {0.196, 0.208, 0.227};
static const Rgb kHeader = {0.262, 0.270, 0.286};   /* brushed strip along the top */
static const Rgb kPrint = {0.880, 0.885, 0.890};    /* silkscreen labels */
static const Rgb kPrintDim = {0.640, 0.660, 0.680}; /* scale figures and ticks */
static const Rgb kLcd = {0.760, 0.800, 0.725};      /* value displays: text is RGB(72,72,72) */
static const Rgb kAmber = {1.000, 0.650, 0.150};

#define KNOB_SIZE 34
#define FADER_W 16
#define FADER_H 133
#define CAP_H 12
#define METER_HALF_W 7
#define METER_H 134
#define GR_HALF_W 8
#define GR_H 120

static const char* kLabelFont = "DejaVu Sans Condensed";
static const char* kTitleFont = "DejaVu Sans";

/* Where the panel puts its controls (PanelLayout.h); the background is drawn around them. */
static const PanelRect* control_rect(int id)
{
    for (int i = 0; i < PANEL_CONTROL_COUNT; ++i)
        if (kPanelControls[i].id == id)
            return &kPanelControls[i].rect;
    fprintf(stderr, "gen_images: no control %d in the layout\n", id);
    exit(1);
}

/* ---------------------------------------------------------------- helpers */

static uint32_t g_seed = 0x2545F491u;

static double noise(void) /* uniform in [-1, 1), xorshift32 */
{
    g_seed ^= g_seed << 13;
    g_seed ^= g_seed >> 17;
    g_seed ^= g_seed << 5;
    return (double)g_seed / 2147483648.0 - 1.0;
}

/* Device pixels per panel pixel of the images being drawn. */
static int g_scale = 1;

/* An image of w x h panel pixels at the current scale. */
static cairo_surface_t* new_surface(int w, int h)
{
    return cairo_image_surface_create(CAIRO_FORMAT_ARGB32, w * g_scale, h * g_scale);
}

/* A context drawing in panel pixels. */
static cairo_t* new_context(cairo_surface_t* s)
{
    cairo_t* cr = cairo_create(s);
    cairo_scale(cr, g_scale, g_scale);
    cairo_font_options_t* fo = cairo_font_options_create();
    cairo_font_options_set_antialias(fo, CAIRO_ANTIALIAS_GRAY);
    cairo_font_options_set_hint_style(fo, CAIRO_HINT_STYLE_SLIGHT);
    cairo_font_options_set_hint_metrics(fo, CAIRO_HINT_METRICS_OFF);
    cairo_set_font_options(cr, fo);
    cairo_font_options_destroy(fo);
    return cr;
}

/* Ends drawing with a context; a drawing error (a bad string, a failed allocation) stops the
 * generator rather than leaving a half-drawn image. */
static void finish(cairo_t* cr)
{
    cairo_status_t st = cairo_status(cr);
    if (st != CAIRO_STATUS_SUCCESS)
    {
        fprintf(stderr, "gen_images: drawing failed: %s\n", cairo_status_to_string(st));
        exit(1);
    }
    cairo_destroy(cr);
}

static void rgb(cairo_t* cr, Rgb c, double a)
{
    cairo_set_source_rgba(cr, c.r, c.g, c.b, a);
}

static Rgb mix(Rgb a, Rgb b, double t)
{
    Rgb c = {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t};
    return c;
}

static Rgb grey(double v)
{
    Rgb c = {v, v, v};
    return c;
}

static void rounded_rect(cairo_t* cr, double x, double y, double w, double h, double r)
{
    cairo_new_sub_path(cr);
    cairo_arc(cr, x + w - r, y + r, r, -M_PI / 2, 0);
    cairo_arc(cr, x + w - r, y + h - r, r, 0, M_PI / 2);
    cairo_arc(cr, x + r, y + h - r, r, M_PI / 2, M_PI);
    cairo_arc(cr, x + r, y + r, r, M_PI, 1.5 * M_PI);
    cairo_close_path(cr);
}

/* x, y, width, height and corner radius of a rounded rectangle. */
typedef struct
{
    double x, y, w, h, r;
} RoundRect;

static void fill_round(cairo_t* cr, RoundRect r)
{
    rounded_rect(cr, r.x, r.y, r.w, r.h, r.r);
    cairo_fill(cr);
}

/* A sunken well: a light lip of opacity `lip` where the edge catches the light, a dark rim,
 * and the floor painted with `floorPaint` (released here). */
static void well(cairo_t* cr, double lip, RoundRect lipRect, Rgb rim, RoundRect rimRect,
                 cairo_pattern_t* floorPaint, RoundRect floorRect)
{
    cairo_set_source_rgba(cr, 1, 1, 1, lip);
    fill_round(cr, lipRect);
    cairo_set_source_rgb(cr, rim.r, rim.g, rim.b);
    fill_round(cr, rimRect);
    cairo_set_source(cr, floorPaint);
    fill_round(cr, floorRect);
    cairo_pattern_destroy(floorPaint);
}

static void font(cairo_t* cr, const char* family, double size, int bold)
{
    cairo_select_font_face(cr, family, CAIRO_FONT_SLANT_NORMAL,
                           bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cr, size);
}

/* Copies the UTF-8 character at s into one (NUL-terminated); returns the next character. */
static const char* next_char(const char* s, char* one)
{
    int n = 1;
    while (n < 4 && (s[n] & 0xC0) == 0x80)
        ++n;
    memcpy(one, s, (size_t)n);
    one[n] = 0;
    return s + n;
}

/* Width of a text drawn with `spacing` extra pixels between letters. */
static double text_width(cairo_t* cr, const char* s, double spacing)
{
    double w = 0;
    char one[8];
    for (const char* p = s; *p;)
    {
        cairo_text_extents_t e;
        p = next_char(p, one);
        cairo_text_extents(cr, one, &e);
        w += e.x_advance + (*p ? spacing : 0);
    }
    return w;
}

/* Draws text with its baseline at y; align -1 left at x, 0 centred on x, 1 right at x. */
static void text_at(cairo_t* cr, double x, double y, const char* s, double spacing, int align)
{
    double w = text_width(cr, s, spacing);
    double px = align < 0 ? x : align == 0 ? x - w / 2 : x - w;
    char one[8];
    for (const char* p = s; *p;)
    {
        cairo_text_extents_t e;
        p = next_char(p, one);
        cairo_text_extents(cr, one, &e);
        cairo_move_to(cr, px, y);
        cairo_show_text(cr, one);
        px += e.x_advance + spacing;
    }
}

/* Silkscreened label: light ink with a faint shadow below, as printed on anodised metal. */
static void print_text(cairo_t* cr, double x, double y, const char* s, double size, double spacing,
                       int align, Rgb ink)
{
    font(cr, kLabelFont, size, 1);
    cairo_set_source_rgba(cr, 0, 0, 0, 0.45);
    text_at(cr, x, y + 0.8, s, spacing, align);
    rgb(cr, ink, 1.0);
    text_at(cr, x, y, s, spacing, align);
}

/* Scale figures: the wider face keeps "1" and "3" apart at this size. */
static void print_figures(cairo_t* cr, double x, double y, const char* s, int align, Rgb ink)
{
    font(cr, kTitleFont, 6.3, 1);
    cairo_set_source_rgba(cr, 0, 0, 0, 0.45);
    text_at(cr, x, y + 0.8, s, 0, align);
    rgb(cr, ink, 1.0);
    text_at(cr, x, y, s, 0, align);
}

static void line(cairo_t* cr, double x0, double y0, double x1, double y1, double w)
{
    cairo_set_line_width(cr, w);
    cairo_move_to(cr, x0, y0);
    cairo_line_to(cr, x1, y1);
    cairo_stroke(cr);
}

/* A cut-out in the panel that an opaque image fills: shadowed upper edge, lit lower edge. */
static void cutout(cairo_t* cr, PanelRect r, double margin, double radius)
{
    double x = r.l - margin, y = r.t - margin;
    double w = r.r - r.l + 2 * margin, h = r.b - r.t + 2 * margin;
    cairo_pattern_t* lip = cairo_pattern_create_linear(0, y - 1, 0, y + h + 1);
    cairo_pattern_add_color_stop_rgba(lip, 0, 0, 0, 0, 0.55);
    cairo_pattern_add_color_stop_rgba(lip, 0.6, 0, 0, 0, 0.35);
    cairo_pattern_add_color_stop_rgba(lip, 1, 1, 1, 1, 0.16);
    rounded_rect(cr, x - 1, y - 1, w + 2, h + 2, radius + 1);
    cairo_set_source(cr, lip);
    cairo_fill(cr);
    cairo_pattern_destroy(lip);
    rounded_rect(cr, x, y, w, h, radius);
    cairo_set_source_rgb(cr, 0.045, 0.047, 0.052);
    cairo_fill(cr);
}

/* Adds a zero-mean grain to a rectangle (panel pixels) of the surface: `streak` of it is smeared
 * along x into brush lines, the rest is per device pixel. Amplitude in 8-bit levels. */
static void grain(cairo_surface_t* s, int x0, int y0, int x1, int y1, double amplitude,
                  double streak)
{
    const int reach = 4 * g_scale; /* smear half-width: 4 panel pixels */
    x0 *= g_scale, y0 *= g_scale, x1 *= g_scale, y1 *= g_scale;
    cairo_surface_flush(s);
    unsigned char* data = cairo_image_surface_get_data(s);
    int stride = cairo_image_surface_get_stride(s);
    int w = x1 - x0;
    double* row = malloc(sizeof(double) * (size_t)w);
    double* smear = malloc(sizeof(double) * (size_t)w);
    for (int y = y0; y < y1; ++y)
    {
        double rowTone = noise() * 0.5;
        for (int x = 0; x < w; ++x)
            row[x] = noise();
        /* Two passes of a 9-tap running mean stretch the noise into short streaks. */
        for (int pass = 0; pass < 2; ++pass)
        {
            for (int x = 0; x < w; ++x)
            {
                double sum = 0;
                int n = 0;
                for (int k = -reach; k <= reach; ++k)
                    if (x + k >= 0 && x + k < w)
                    {
                        sum += row[x + k];
                        ++n;
                    }
                smear[x] = sum / n;
            }
            memcpy(row, smear, sizeof(double) * (size_t)w);
        }
        for (int x = 0; x < w; ++x)
        {
            double d = amplitude * ((1 - streak) * noise() + streak * (2.2 * row[x] + rowTone));
            uint32_t* px = (uint32_t*)(data + (size_t)y * (size_t)stride) + x0 + x;
            uint32_t v = *px;
            int c[3] = {(int)((v >> 16) & 255), (int)((v >> 8) & 255), (int)(v & 255)};
            for (int i = 0; i < 3; ++i)
            {
                int t = (int)lround(c[i] + d);
                c[i] = t < 0 ? 0 : t > 255 ? 255 : t;
            }
            *px =
                (v & 0xFF000000u) | ((uint32_t)c[0] << 16) | ((uint32_t)c[1] << 8) | (uint32_t)c[2];
        }
    }
    free(row);
    free(smear);
    cairo_surface_mark_dirty(s);
}

/* Direction of a knob angle (clockwise from straight down) on screen. */
static double dir_x(double deg)
{
    return -sin(deg * M_PI / 180);
}
static double dir_y(double deg)
{
    return cos(deg * M_PI / 180);
}

/* ---------------------------------------------------------------- knob film strip (5001) */

/* A conic sheen for the knob body, built from mesh sectors; `light` maps a screen angle
 * (radians, atan2 convention) to a grey level. */
static cairo_pattern_t* conic(double cx, double cy, double r, double (*light)(double))
{
    cairo_pattern_t* p = cairo_pattern_create_mesh();
    const int n = 72;
    for (int i = 0; i < n; ++i)
    {
        double a0 = 2 * M_PI * i / n, a1 = 2 * M_PI * (i + 1) / n;
        double v0 = light(a0), v1 = light(a1);
        cairo_mesh_pattern_begin_patch(p);
        cairo_mesh_pattern_move_to(p, cx, cy);
        cairo_mesh_pattern_line_to(p, cx + r * cos(a0), cy + r * sin(a0));
        cairo_mesh_pattern_line_to(p, cx + r * cos(a1), cy + r * sin(a1));
        cairo_mesh_pattern_line_to(p, cx, cy);
        cairo_mesh_pattern_set_corner_color_rgb(p, 0, v0, v0, v0 * 1.02);
        cairo_mesh_pattern_set_corner_color_rgb(p, 1, v0, v0, v0 * 1.02);
        cairo_mesh_pattern_set_corner_color_rgb(p, 2, v1, v1, v1 * 1.02);
        cairo_mesh_pattern_set_corner_color_rgb(p, 3, v1, v1, v1 * 1.02);
        cairo_mesh_pattern_end_patch(p);
    }
    return p;
}

/* A gradient's colour stops, all grey: offset, level, opacity. */
typedef struct
{
    double offset, level, alpha;
} GreyStop;

static cairo_pattern_t* grey_stops(cairo_pattern_t* p, const GreyStop* stops, int n)
{
    for (int i = 0; i < n; ++i)
        cairo_pattern_add_color_stop_rgba(p, stops[i].offset, stops[i].level, stops[i].level,
                                          stops[i].level, stops[i].alpha);
    return p;
}

/* Paints a circle with `p` and releases it: filled, or stroked when `width` > 0. */
static void disc(cairo_t* cr, cairo_pattern_t* p, double cx, double cy, double r, double width)
{
    cairo_set_source(cr, p);
    if (width > 0)
        cairo_set_line_width(cr, width);
    cairo_arc(cr, cx, cy, r, 0, 2 * M_PI);
    if (width > 0)
        cairo_stroke(cr);
    else
        cairo_fill(cr);
    cairo_pattern_destroy(p);
}

static double cap_light(double a)
{
    /* Two soft reflections, upper left and lower right, as from a light above the panel. */
    double s = cos(2 * (a + 0.75 * M_PI));
    return 0.20 + 0.10 * s + 0.06 * pow(0.5 + 0.5 * cos(a + 0.70 * M_PI), 6);
}

static double skirt_light(double a)
{
    return 0.13 + 0.05 * cos(2 * (a + 0.75 * M_PI));
}

static void draw_knob(cairo_t* cr, double ox, double oy, double angle)
{
    const double cx = ox + KNOB_SIZE / 2.0, cy = oy + KNOB_SIZE / 2.0;
    const double rSkirt = 12.6, rCap = 9.6;

    rgb(cr, kPanel, 1);
    cairo_rectangle(cr, ox, oy, KNOB_SIZE, KNOB_SIZE);
    cairo_fill(cr);

    /* Scale: eleven ticks over the 300 degree sweep, the end ticks longer. */
    cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
    for (int i = 0; i <= 10; ++i)
    {
        double a = 30 + 30 * i;
        double r0 = (i == 0 || i == 10 || i == 5) ? 14.3 : 14.8;
        rgb(cr, kPrintDim, i == 0 || i == 10 || i == 5 ? 0.95 : 0.75);
        line(cr, cx + r0 * dir_x(a), cy + r0 * dir_y(a), cx + 16.4 * dir_x(a), cy + 16.4 * dir_y(a),
             0.9);
    }

    /* Drop shadow on the panel. */
    disc(cr,
         grey_stops(
             cairo_pattern_create_radial(cx, cy + 1.4, rSkirt - 2, cx, cy + 1.4, rSkirt + 2.4),
             (const GreyStop[]){{0, 0, 0.75}, {1, 0, 0}}, 2),
         cx, cy + 1.4, rSkirt + 2.4, 0);

    /* Skirt: dark body with a sheen, fine knurling that turns with the knob. */
    disc(cr, conic(cx, cy, rSkirt + 1, skirt_light), cx, cy, rSkirt, 0);
    cairo_save(cr);
    cairo_arc(cr, cx, cy, rSkirt, 0, 2 * M_PI);
    cairo_clip(cr);
    for (int i = 0; i < 40; ++i)
    {
        double a = angle + i * 9.0;
        cairo_set_source_rgba(cr, 0, 0, 0, 0.35);
        line(cr, cx + (rCap + 0.5) * dir_x(a), cy + (rCap + 0.5) * dir_y(a),
             cx + (rSkirt + 1) * dir_x(a), cy + (rSkirt + 1) * dir_y(a), 0.7);
    }
    cairo_restore(cr);
    /* Rim light on the upper edge, dark line on the lower. */
    disc(cr,
         grey_stops(cairo_pattern_create_linear(0, cy - rSkirt, 0, cy + rSkirt),
                    (const GreyStop[]){{0, 1, 0.35}, {0.5, 1, 0.04}, {1, 0, 0.5}}, 3),
         cx, cy, rSkirt - 0.45, 0.9);

    /* Cap: satin metal, slightly domed, with a bevel ring. */
    cairo_set_source_rgba(cr, 0, 0, 0, 0.6);
    cairo_arc(cr, cx, cy + 0.6, rCap + 0.6, 0, 2 * M_PI);
    cairo_fill(cr);
    disc(cr, conic(cx, cy, rCap + 1, cap_light), cx, cy, rCap, 0);
    disc(cr,
         grey_stops(cairo_pattern_create_radial(cx - 2, cy - 3, 0, cx, cy, rCap),
                    (const GreyStop[]){{0, 1, 0.10}, {0.7, 1, 0.0}, {1, 0, 0.25}}, 3),
         cx, cy, rCap, 0);
    disc(cr,
         grey_stops(cairo_pattern_create_linear(0, cy - rCap, 0, cy + rCap),
                    (const GreyStop[]){{0, 1, 0.45}, {1, 1, 0.05}}, 2),
         cx, cy, rCap - 0.4, 0.8);

    /* Pointer: a white line from near the centre across the skirt. */
    double dx = dir_x(angle), dy = dir_y(angle);
    cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
    cairo_set_source_rgba(cr, 0, 0, 0, 0.5);
    line(cr, cx + 3.6 * dx, cy + 3.6 * dy + 0.6, cx + 11.6 * dx, cy + 11.6 * dy + 0.6, 2.0);
    cairo_set_source_rgb(cr, 0.96, 0.96, 0.94);
    line(cr, cx + 3.6 * dx, cy + 3.6 * dy, cx + 11.6 * dx, cy + 11.6 * dy, 1.5);
}

static cairo_surface_t* make_knob_strip(void)
{
    cairo_surface_t* s = new_surface(KNOB_SIZE, KNOB_SIZE * PANEL_KNOB_FRAMES);
    cairo_t* cr = new_context(s);
    for (int k = 0; k < PANEL_KNOB_FRAMES; ++k)
    {
        cairo_save(cr);
        cairo_rectangle(cr, 0, k * KNOB_SIZE, KNOB_SIZE, KNOB_SIZE);
        cairo_clip(cr);
        draw_knob(cr, 0, k * KNOB_SIZE, 30.0 + 300.0 * k / (PANEL_KNOB_FRAMES - 1));
        cairo_restore(cr);
    }
    finish(cr);
    return s;
}

/* ---------------------------------------------------------------- buttons and lamps */

/* A push-button cap filling w x h at (x, y); `pressed` sinks it by one pixel. */
static void button_cap(cairo_t* cr, double x, double y, double w, double h, int pressed)
{
    cairo_set_source_rgb(cr, 0.035, 0.037, 0.040);
    cairo_rectangle(cr, x, y, w, h);
    cairo_fill(cr);
    double top = y + 1 + (pressed ? 1 : 0);
    double ch = h - 2 - (pressed ? 1 : 0);
    cairo_pattern_t* g = cairo_pattern_create_linear(0, top, 0, top + ch);
    double lift = pressed ? -0.08 : 0;
    cairo_pattern_add_color_stop_rgb(g, 0, 0.40 + lift, 0.41 + lift, 0.43 + lift);
    cairo_pattern_add_color_stop_rgb(g, 0.12, 0.31 + lift, 0.32 + lift, 0.34 + lift);
    cairo_pattern_add_color_stop_rgb(g, 1, 0.19 + lift, 0.20 + lift, 0.215 + lift);
    rounded_rect(cr, x + 1, top, w - 2, ch, 1.2);
    cairo_set_source(cr, g);
    cairo_fill(cr);
    cairo_pattern_destroy(g);
    if (!pressed)
    {
        cairo_set_source_rgba(cr, 1, 1, 1, 0.22);
        line(cr, x + 2, top + 0.5, x + w - 2, top + 0.5, 1);
    }
    else
    {
        /* Sunk: the bezel's shadow falls across the top of the cap. */
        cairo_set_source_rgba(cr, 0, 0, 0, 0.65);
        line(cr, x + 1, y + 1.5, x + w - 1, y + 1.5, 1);
        cairo_set_source_rgba(cr, 0, 0, 0, 0.3);
        line(cr, x + 1, y + 2.5, x + w - 1, y + 2.5, 1);
        cairo_set_source_rgba(cr, 0, 0, 0, 0.3);
        line(cr, x + 1.5, y + 1, x + 1.5, y + h - 1, 1);
        line(cr, x + w - 1.5, y + 1, x + w - 1.5, y + h - 1, 1);
    }
}

/* A rectangular LED lens: off is smoked glass, on glows in `c`. */
static void led(cairo_t* cr, double x, double y, double w, double h, Rgb c, int on)
{
    cairo_set_source_rgba(cr, 0, 0, 0, 0.7);
    rounded_rect(cr, x - 0.5, y - 0.5, w + 1, h + 1, 1);
    cairo_fill(cr);
    if (on)
    {
        cairo_pattern_t* g =
            cairo_pattern_create_radial(x + w / 2, y + h / 2, 0, x + w / 2, y + h / 2, w / 1.6);
        Rgb hot = mix(c, grey(1), 0.5);
        cairo_pattern_add_color_stop_rgb(g, 0, hot.r, hot.g, hot.b);
        cairo_pattern_add_color_stop_rgb(g, 1, c.r * 0.85, c.g * 0.8, c.b * 0.8);
        cairo_set_source(cr, g);
        rounded_rect(cr, x, y, w, h, 0.8);
        cairo_fill(cr);
        cairo_pattern_destroy(g);
    }
    else
    {
        Rgb d = mix(grey(0.07), c, 0.16);
        rgb(cr, d, 1);
        rounded_rect(cr, x, y, w, h, 0.8);
        cairo_fill(cr);
    }
    cairo_set_source_rgba(cr, 1, 1, 1, on ? 0.45 : 0.12);
    line(cr, x + 1, y + 0.6, x + w - 1, y + 0.6, 0.7);
}

/* Two stacked button states: released above, pressed below. */
typedef void (*FaceFn)(cairo_t* cr, double x, double y, double w, double h, int pressed, int on);

static cairo_surface_t* two_state(int w, int h, FaceFn face, int on)
{
    cairo_surface_t* s = new_surface(w, 2 * h);
    cairo_t* cr = new_context(s);
    for (int pressed = 0; pressed < 2; ++pressed)
    {
        cairo_save(cr);
        cairo_rectangle(cr, 0, pressed * h, w, h);
        cairo_clip(cr);
        face(cr, 0, pressed * h, w, h, pressed, on);
        cairo_restore(cr);
    }
    finish(cr);
    return s;
}

/* The two states of a switch, sized to its rectangle in the layout. */
static cairo_surface_t* switch_images(int id, FaceFn face, int on)
{
    const PanelRect* r = control_rect(id);
    return two_state(r->r - r->l, r->b - r->t, face, on);
}

static void power_face(cairo_t* cr, double x, double y, double w, double h, int pressed, int on)
{
    const Rgb green = {0.30, 1.00, 0.38};
    double d = pressed ? 1 : 0;
    button_cap(cr, x, y, w, h, pressed);
    led(cr, x + w / 2 - 4, y + 3.5 + d, 8, 2.5, green, on);
    print_text(cr, x + w / 2, y + h - 4.2 + d, "POWER", 6.4, 0.3, 0,
               pressed ? mix(kPrint, grey(0.3), 0.3) : kPrint);
}

static void copy_face(cairo_t* cr, double x, double y, double w, double h, int pressed, int on)
{
    double d = pressed ? 1 : 0;
    button_cap(cr, x, y, w, h, pressed);
    print_text(cr, x + w / 2 + 0.2, y + h / 2 + 2.6 + d, "COPY", 6.6, 0.3, 0,
               on ? kAmber : (pressed ? mix(kPrint, grey(0.3), 0.3) : kPrint));
}

static void small_face(cairo_t* cr, double x, double y, double w, double h, int pressed, int on)
{
    double d = pressed ? 1 : 0;
    button_cap(cr, x, y, w, h, pressed);
    led(cr, x + 3, y + 3 + d, w - 6, h - 6 - (pressed ? 0.5 : 0), kAmber, on);
}

static cairo_surface_t* make_save_face(void)
{
    cairo_surface_t* s = new_surface(43, 16);
    cairo_t* cr = new_context(s);
    button_cap(cr, 0, 0, 43, 16, 0);
    print_text(cr, 21.7, 10.8, "SAVE", 6.8, 0.9, 0, kPrint);
    finish(cr);
    return s;
}

static cairo_surface_t* make_lamp(void)
{
    cairo_surface_t* s = new_surface(43, 32);
    cairo_t* cr = new_context(s);
    for (int lit = 0; lit < 2; ++lit)
    {
        double y = lit * 16;
        cairo_set_source_rgb(cr, 0.035, 0.037, 0.040);
        cairo_rectangle(cr, 0, y, 43, 16);
        cairo_fill(cr);
        cairo_pattern_t* g = cairo_pattern_create_linear(0, y + 1, 0, y + 15);
        if (lit)
        {
            cairo_pattern_add_color_stop_rgb(g, 0, 0.30, 0.17, 0.05);
            cairo_pattern_add_color_stop_rgb(g, 0.5, 0.24, 0.12, 0.03);
            cairo_pattern_add_color_stop_rgb(g, 1, 0.17, 0.08, 0.02);
        }
        else
        {
            cairo_pattern_add_color_stop_rgb(g, 0, 0.12, 0.11, 0.10);
            cairo_pattern_add_color_stop_rgb(g, 1, 0.07, 0.065, 0.06);
        }
        rounded_rect(cr, 1, y + 1, 41, 14, 1.2);
        cairo_set_source(cr, g);
        cairo_fill(cr);
        cairo_pattern_destroy(g);
        font(cr, kLabelFont, 7.2, 1);
        if (lit)
        {
            /* Glow: the legend blurred by stacking offset copies. */
            for (int i = 0; i < 8; ++i)
            {
                double a = i * M_PI / 4;
                cairo_set_source_rgba(cr, 1.0, 0.55, 0.1, 0.10);
                text_at(cr, 21.7 + 1.2 * cos(a), y + 10.8 + 1.2 * sin(a), "EDIT", 1.2, 0);
            }
            cairo_set_source_rgb(cr, 1.0, 0.80, 0.38);
        }
        else
            cairo_set_source_rgb(cr, 0.24, 0.215, 0.19);
        text_at(cr, 21.7, y + 10.8, "EDIT", 1.2, 0);
        /* Glass reflection along the top. */
        cairo_set_source_rgba(cr, 1, 1, 1, lit ? 0.14 : 0.07);
        rounded_rect(cr, 2, y + 2, 39, 4.5, 1);
        cairo_fill(cr);
    }
    finish(cr);
    return s;
}

/* ---------------------------------------------------------------- faders */

/* A new image filled with the panel's face colour, and a context on it in *cr. */
static cairo_surface_t* panel_face(int w, int h, cairo_t** cr)
{
    cairo_surface_t* s = new_surface(w, h);
    *cr = new_context(s);
    rgb(*cr, kPanel, 1);
    cairo_paint(*cr);
    return s;
}

static cairo_surface_t* make_fader_track(void)
{
    cairo_t* cr;
    cairo_surface_t* s = panel_face(FADER_W, FADER_H, &cr);
    /* Slot from the cap's lowest to highest centre with a little overrun. */
    double x = 6, w = 4, y = 2, h = FADER_H - 4;
    cairo_pattern_t* g = cairo_pattern_create_linear(x, 0, x + w, 0);
    cairo_pattern_add_color_stop_rgb(g, 0, 0.0, 0.0, 0.0);
    cairo_pattern_add_color_stop_rgb(g, 0.6, 0.07, 0.07, 0.08);
    cairo_pattern_add_color_stop_rgb(g, 1, 0.11, 0.11, 0.12);
    well(cr, 0.13, (RoundRect){x - 0.5, y - 0.5, w + 1, h + 1.5, 2.5}, (Rgb){0.02, 0.02, 0.025},
         (RoundRect){x - 0.5, y - 0.5, w + 1, h + 0.5, 2.5}, g,
         (RoundRect){x + 0.3, y + 1, w - 0.6, h - 1.5, 1.8});
    finish(cr);
    return s;
}

static cairo_surface_t* make_fader_cap(void)
{
    cairo_t* cr;
    cairo_surface_t* s = panel_face(FADER_W, CAP_H, &cr);
    cairo_set_source_rgba(cr, 0, 0, 0, 0.8);
    rounded_rect(cr, 0, 0, 16, 12, 1.8);
    cairo_fill(cr);
    /* Two bevelled halves meeting at the centre line, like a moulded cap. */
    cairo_pattern_t* g = cairo_pattern_create_linear(0, 0.5, 0, 11.5);
    cairo_pattern_add_color_stop_rgb(g, 0.00, 0.58, 0.59, 0.61);
    cairo_pattern_add_color_stop_rgb(g, 0.20, 0.40, 0.41, 0.43);
    cairo_pattern_add_color_stop_rgb(g, 0.45, 0.28, 0.29, 0.31);
    cairo_pattern_add_color_stop_rgb(g, 0.55, 0.24, 0.25, 0.27);
    cairo_pattern_add_color_stop_rgb(g, 0.80, 0.17, 0.18, 0.19);
    cairo_pattern_add_color_stop_rgb(g, 1.00, 0.10, 0.10, 0.11);
    rounded_rect(cr, 0.7, 0.6, 14.6, 10.8, 1.4);
    cairo_set_source(cr, g);
    cairo_fill(cr);
    cairo_pattern_destroy(g);
    cairo_set_source_rgba(cr, 0, 0, 0, 0.35);
    line(cr, 1.5, 3.5, 14.5, 3.5, 0.8);
    line(cr, 1.5, 8.5, 14.5, 8.5, 0.8);
    cairo_set_source_rgba(cr, 1, 1, 1, 0.12);
    line(cr, 1.5, 4.3, 14.5, 4.3, 0.6);
    line(cr, 1.5, 9.3, 14.5, 9.3, 0.6);
    /* Index line exactly on the cap's centre (rows 5 and 6). */
    cairo_set_source_rgb(cr, 0.95, 0.95, 0.93);
    cairo_rectangle(cr, 1.5, 5.2, 13, 1.6);
    cairo_fill(cr);
    finish(cr);
    return s;
}

/* ---------------------------------------------------------------- meters */

/* Level meter: row 19 is 0 dB, 3 rows per dB; every third row (19, 22, ... and 16, 13, ...) is a
 * dark gap, so silence (row 133) and full scale (row 1) both start on a gap. */
static Rgb meter_colour(int row)
{
    const Rgb red = {1.0, 0.20, 0.13}, amber = {1.0, 0.74, 0.12}, green = {0.38, 0.95, 0.30};
    return row < 19 ? red : row < 37 ? amber : green;
}

static void meter_segments(cairo_surface_t* s, int x0, int halfW, int height, int lit,
                           int (*is_gap)(int), Rgb (*colour)(int))
{
    cairo_t* cr = new_context(s);
    cairo_set_source_rgb(cr, 0.03, 0.03, 0.035);
    cairo_rectangle(cr, x0, 0, halfW, height);
    cairo_fill(cr);
    for (int r = 0; r < height; ++r)
    {
        if (is_gap(r))
            continue;
        Rgb c = colour(r);
        /* Per device column (panel x = column / scale), one panel row high. */
        for (int x = g_scale; x < (halfW - 1) * g_scale; ++x)
        {
            /* Brighter in the middle of the segment, like a diffused LED. */
            double across = 1.0 - fabs((x + 0.5) / g_scale - halfW / 2.0) / (halfW / 2.0);
            Rgb p = lit ? mix(mix(c, grey(0.0), 0.22), mix(c, grey(1), 0.35), across * across)
                        : mix(grey(0.075), c, 0.13 + 0.05 * across);
            rgb(cr, p, 1);
            cairo_rectangle(cr, x0 + (double)x / g_scale, r, 1.0 / g_scale, 1);
            cairo_fill(cr);
        }
    }
    finish(cr);
}

static int level_gap(int r)
{
    return ((r - 19) % 3 + 3) % 3 == 0;
}
static int gr_gap(int r)
{
    return r % 3 == 2;
}

static Rgb gr_colour(int r)
{
    const Rgb top = {1.0, 0.72, 0.14}, deep = {1.0, 0.36, 0.10};
    return mix(top, deep, r / (double)GR_H);
}

static cairo_surface_t* make_level_strip(void)
{
    cairo_surface_t* s = new_surface(2 * METER_HALF_W, METER_H);
    meter_segments(s, 0, METER_HALF_W, METER_H, 0, level_gap, meter_colour);
    meter_segments(s, METER_HALF_W, METER_HALF_W, METER_H, 1, level_gap, meter_colour);
    return s;
}

static cairo_surface_t* make_gr_strip(void)
{
    cairo_surface_t* s = new_surface(2 * GR_HALF_W, GR_H);
    meter_segments(s, 0, GR_HALF_W, GR_H, 0, gr_gap, gr_colour);
    meter_segments(s, GR_HALF_W, GR_HALF_W, GR_H, 1, gr_gap, gr_colour);
    return s;
}

/* ---------------------------------------------------------------- background (5000) */

/* Cap centre (panel y) of a fader showing a gain in dB; the faders map their travel t to the
 * normalised value v as t = log10(9 v + 1), and v to a gain as min + (max - min) v. */
static double fader_y_for_db(double db, double gainMax)
{
    double gain = pow(2.0, db / 6.0);
    double v = (gain - 0.001) / (gainMax - 0.001);
    double t = log10(9 * v + 1);
    double s = FADER_H - CAP_H / 2, e = CAP_H / 2;
    return control_rect(104)->t + s - t * (s - e);
}

static void fader_scale(cairo_t* cr, double gainMax, const double* marks, int n, double tickX,
                        int side)
{
    for (int i = 0; i < n; ++i)
    {
        double y = floor(fader_y_for_db(marks[i], gainMax)) + 0.5;
        rgb(cr, kPrintDim, 0.9);
        line(cr, tickX, y, tickX + 3 * side, y, 1);
        char buf[16];
        snprintf(buf, sizeof buf, marks[i] > 0 ? "+%g" : "%g", marks[i]);
        print_figures(cr, tickX + 5 * side, y + 2.3, buf, side > 0 ? -1 : 1, kPrintDim);
    }
    /* Bottom of travel: no gain. */
    double yb = control_rect(104)->t + FADER_H - CAP_H / 2 + 0.5;
    rgb(cr, kPrintDim, 0.9);
    line(cr, tickX, yb, tickX + 3 * side, yb, 1);
    print_figures(cr, tickX + 5 * side, yb + 2.4, "-\xe2\x88\x9e", side > 0 ? -1 : 1, kPrintDim);
}

static void meter_scale(cairo_t* cr, double x, int side)
{
    const int marks[] = {6, 3, 0, -3, -6, -10, -15, -20, -30};
    for (size_t i = 0; i < sizeof marks / sizeof marks[0]; ++i)
    {
        double y = kPanelLevelMeters[0].y + 19 - 3 * marks[i] + 0.5;
        int major = marks[i] % 2 == 0 || marks[i] == -15;
        rgb(cr, kPrintDim, 0.9);
        line(cr, x, y, x + (major ? 3 : 2) * side, y, 1);
        if (marks[i] == 3 || marks[i] == -3 || marks[i] == -15)
            continue;
        char buf[16];
        snprintf(buf, sizeof buf, marks[i] > 0 ? "+%d" : "%d", marks[i]);
        print_figures(cr, x + 5 * side, y + 2.3, buf, side > 0 ? -1 : 1,
                      marks[i] >= 0 ? mix(kPrintDim, (Rgb){1.0, 0.45, 0.35}, 0.45) : kPrintDim);
    }
}

static void display_box(cairo_t* cr, PanelRect r)
{
    double x = r.l, y = r.t, w = r.r - r.l, h = r.b - r.t;
    cairo_pattern_t* g = cairo_pattern_create_linear(0, y, 0, y + h);
    cairo_pattern_add_color_stop_rgb(g, 0, kLcd.r - 0.10, kLcd.g - 0.10, kLcd.b - 0.10);
    cairo_pattern_add_color_stop_rgb(g, 0.22, kLcd.r, kLcd.g, kLcd.b);
    cairo_pattern_add_color_stop_rgb(g, 1, kLcd.r + 0.03, kLcd.g + 0.03, kLcd.b + 0.03);
    well(cr, 0.16, (RoundRect){x - 1.5, y - 1, w + 3, h + 2.5, 2}, (Rgb){0.03, 0.03, 0.035},
         (RoundRect){x - 1.5, y - 1.5, w + 3, h + 3, 2}, g,
         (RoundRect){x - 0.5, y - 0.5, w + 1, h + 1, 1.4});
}

static void screw(cairo_t* cr, double cx, double cy, double slot)
{
    cairo_set_source_rgba(cr, 0, 0, 0, 0.55);
    cairo_arc(cr, cx + 0.3, cy + 0.6, 3.6, 0, 2 * M_PI);
    cairo_fill(cr);
    cairo_pattern_t* g = cairo_pattern_create_linear(cx - 3, cy - 3, cx + 3, cy + 3);
    cairo_pattern_add_color_stop_rgb(g, 0, 0.62, 0.63, 0.65);
    cairo_pattern_add_color_stop_rgb(g, 1, 0.25, 0.26, 0.28);
    cairo_set_source(cr, g);
    cairo_arc(cr, cx, cy, 3.2, 0, 2 * M_PI);
    cairo_fill(cr);
    cairo_pattern_destroy(g);
    cairo_set_source_rgba(cr, 0.05, 0.05, 0.06, 0.9);
    cairo_set_line_cap(cr, CAIRO_LINE_CAP_BUTT);
    double dx = 2.6 * cos(slot), dy = 2.6 * sin(slot);
    line(cr, cx - dx, cy - dy, cx + dx, cy + dy, 1.0);
    cairo_set_source_rgba(cr, 1, 1, 1, 0.2);
    line(cr, cx - dx + 0.5, cy - dy + 0.6, cx + dx + 0.5, cy + dy + 0.6, 0.5);
}

/* A recessed window for a meter: the opaque strip image fills the inner rectangle. */
static void meter_window(cairo_t* cr, int x, int y, int w, int h)
{
    PanelRect r = {x, y, x + w, y + h};
    cutout(cr, r, 1.5, 1.5);
}

static cairo_surface_t* make_background(void)
{
    cairo_surface_t* s = new_surface(PANEL_WIDTH, PANEL_HEIGHT);
    cairo_t* cr = new_context(s);
    const int headerH = 35;

    rgb(cr, kPanel, 1);
    cairo_paint(cr);
    rgb(cr, kHeader, 1);
    cairo_rectangle(cr, 0, 0, PANEL_WIDTH, headerH);
    cairo_fill(cr);
    grain(s, 0, 0, PANEL_WIDTH, headerH, 5.0, 0.8);
    grain(s, 0, headerH, PANEL_WIDTH, PANEL_HEIGHT, 1.0, 0.3);
    /* The knob images are opaque with the plain face colour in their corners: keep the face
     * plain under them so no seam shows. */
    rgb(cr, kPanel, 1);
    for (int i = 0; i < PANEL_CONTROL_COUNT; ++i)
    {
        const PanelRect* k = &kPanelControls[i].rect;
        if (kPanelControls[i].kind != PANEL_KNOB)
            continue;
        cairo_rectangle(cr, k->l, k->t, k->r - k->l, k->b - k->t);
        cairo_fill(cr);
    }

    /* Header: soft top light, a groove where it meets the face. */
    cairo_pattern_t* hl = cairo_pattern_create_linear(0, 0, 0, headerH);
    cairo_pattern_add_color_stop_rgba(hl, 0, 1, 1, 1, 0.07);
    cairo_pattern_add_color_stop_rgba(hl, 1, 0, 0, 0, 0.10);
    cairo_set_source(cr, hl);
    cairo_rectangle(cr, 0, 0, PANEL_WIDTH, headerH);
    cairo_fill(cr);
    cairo_pattern_destroy(hl);
    cairo_set_source_rgba(cr, 0, 0, 0, 0.6);
    line(cr, 0, headerH + 0.5, PANEL_WIDTH, headerH + 0.5, 1);
    cairo_set_source_rgba(cr, 1, 1, 1, 0.07);
    line(cr, 0, headerH + 1.5, PANEL_WIDTH, headerH + 1.5, 1);

    /* Panel edge bevel. */
    cairo_set_source_rgba(cr, 1, 1, 1, 0.18);
    line(cr, 0, 0.5, PANEL_WIDTH, 0.5, 1);
    line(cr, 0.5, 0, 0.5, PANEL_HEIGHT, 1);
    cairo_set_source_rgba(cr, 0, 0, 0, 0.6);
    line(cr, 0, PANEL_HEIGHT - 0.5, PANEL_WIDTH, PANEL_HEIGHT - 0.5, 1);
    line(cr, PANEL_WIDTH - 0.5, 0, PANEL_WIDTH - 0.5, PANEL_HEIGHT, 1);

    screw(cr, 8, 8, 0.5);
    screw(cr, PANEL_WIDTH - 8, 8, 2.1);
    screw(cr, 7, PANEL_HEIGHT - 7, 1.2);
    screw(cr, PANEL_WIDTH - 7, PANEL_HEIGHT - 7, 2.7);

    /* Header controls and title. */
    cutout(cr, *control_rect(107), 1, 1.5);
    cutout(cr, *control_rect(131), 1, 1.5);
    cutout(cr, kPanelLampRect, 1, 1.5);
    cutout(cr, kPanelSaveRect, 1, 1.5);
    print_text(cr, (control_rect(131)->r + kPanelLampRect.l) / 2.0, 20.8, "PROGRAM", 6.6, 0.8, 0,
               kPrintDim);
    rgb(cr, kPrintDim, 0.55);
    line(cr, 93, 24.5, 137, 24.5, 0.8);
    /* Title, right-aligned at x 440: engraved edge above, shadow below, amber rule under it. */
    font(cr, kTitleFont, 17, 1);
    double titleW = text_width(cr, "DE-ESSER", 3.2);
    cairo_set_source_rgba(cr, 0, 0, 0, 0.55);
    text_at(cr, 440, 26.2, "DE-ESSER", 3.2, 1);
    cairo_set_source_rgba(cr, 1, 1, 1, 0.10);
    text_at(cr, 440, 25.2, "DE-ESSER", 3.2, 1);
    rgb(cr, kPrint, 1);
    text_at(cr, 440, 25.6, "DE-ESSER", 3.2, 1);
    rgb(cr, kAmber, 0.9);
    cairo_rectangle(cr, 440 - titleW, 28.6, titleW, 1.2);
    cairo_fill(cr);

    /* Input: meters, fader scale, display. */
    print_text(cr, 46, 42.4, "INPUT", 7, 0.6, 0, kPrint);
    meter_window(cr, kPanelLevelMeters[0].x, kPanelLevelMeters[0].y, 2 * METER_HALF_W + 2, METER_H);
    meter_scale(cr, kPanelLevelMeters[0].x - 3.5, -1);
    const double inMarks[] = {0, -6, -12, -20, -30};
    fader_scale(cr, 1.0, inMarks, 5, control_rect(104)->r + 1.5, 1);

    /* Output: mirror image. */
    print_text(cr, 420, 42.4, "OUTPUT", 7, 0.5, 0, kPrint);
    meter_window(cr, kPanelLevelMeters[2].x, kPanelLevelMeters[2].y, 2 * METER_HALF_W + 2, METER_H);
    meter_scale(cr, kPanelLevelMeters[3].x + METER_HALF_W + 3.5, 1);
    const double outMarks[] = {20, 12, 6, 0, -6};
    fader_scale(cr, 10.0, outMarks, 5, control_rect(105)->l - 1.5, -1);

    /* Key filter knobs and switches. */
    print_text(cr, 116, 49.6, "LOW FREQ", 7, 0.5, 0, kPrint);
    print_text(cr, 116, 134.6, "HI FREQ", 7, 0.5, 0, kPrint);
    print_text(cr, 175, 63.6, "LISTEN", 6.4, 0.4, 0, kPrint);
    print_text(cr, 175, 107.2, "SIDE CHAIN", 6.2, 0.1, 0, kPrint);
    cutout(cr, *control_rect(111), 1, 1.2);
    cutout(cr, *control_rect(112), 1, 1.2);
    cutout(cr, *control_rect(106), 1, 1.2);

    /* Gain reduction meter. */
    print_text(cr, kPanelReductionMeter.x + GR_HALF_W / 2.0, 49.6, "GR", 7, 0.5, 0, kPrint);
    meter_window(cr, kPanelReductionMeter.x, kPanelReductionMeter.y, GR_HALF_W, GR_H);
    {
        const int marks[] = {0, 3, 6, 10, 15, 20, 30, 40};
        for (size_t i = 0; i < sizeof marks / sizeof marks[0]; ++i)
        {
            double y = kPanelReductionMeter.y + 3 * marks[i] + 0.5 - (marks[i] == 40 ? 1 : 0);
            rgb(cr, kPrintDim, 0.9);
            line(cr, kPanelReductionMeter.x + GR_HALF_W + 2.5, y,
                 kPanelReductionMeter.x + GR_HALF_W + 5.5, y, 1);
            if (marks[i] == 3 || marks[i] == 15)
                continue;
            char buf[16];
            snprintf(buf, sizeof buf, "%d", marks[i]);
            print_figures(cr, kPanelReductionMeter.x + GR_HALF_W + 7.5, y + 2.3, buf, -1,
                          kPrintDim);
        }
        print_text(cr, kPanelReductionMeter.x + GR_HALF_W / 2.0, kPanelReductionMeter.y + GR_H + 10,
                   "dB", 6.0, 0.3, 0, kPrintDim);
    }

    /* Compressor. */
    print_text(cr, 279, 61.6, "THRESHOLD", 7, 0.5, 0, kPrint);
    print_text(cr, 312, 52.2, "AUTO", 6.4, 0.5, 0, kPrint);
    print_text(cr, 279, 136.6, "ATTACK", 7, 0.5, 0, kPrint);
    print_text(cr, 350, 61.6, "RELEASE", 7, 0.5, 0, kPrint);
    print_text(cr, 350, 136.6, "RATIO", 7, 0.5, 0, kPrint);

    /* Section rules between the level, key and compressor groups. */
    for (int i = 0; i < 2; ++i)
    {
        double x = i == 0 ? 85.5 : 245.5;
        cairo_set_source_rgba(cr, 0, 0, 0, 0.45);
        line(cr, x, 46, x, 200, 1);
        cairo_set_source_rgba(cr, 1, 1, 1, 0.06);
        line(cr, x + 1, 46, x + 1, 200, 1);
    }

    for (int i = 0; i < PANEL_CONTROL_COUNT; ++i)
        if (kPanelControls[i].kind != PANEL_SWITCH)
            display_box(cr, kPanelControls[i].display);

    finish(cr);
    return s;
}

static cairo_surface_t* make_placeholder(void)
{
    cairo_surface_t* s = new_surface(16, 16);
    cairo_t* cr = new_context(s);
    rgb(cr, kPanel, 1);
    cairo_paint(cr);
    finish(cr);
    return s;
}

/* ---------------------------------------------------------------- output */

typedef struct
{
    unsigned char* data;
    size_t size, capacity;
} Buffer;

static cairo_status_t append(void* closure, const unsigned char* data, unsigned int length)
{
    Buffer* b = closure;
    if (b->size + length > b->capacity)
    {
        size_t cap = b->capacity ? b->capacity : 4096;
        while (cap < b->size + length)
            cap *= 2;
        unsigned char* p = realloc(b->data, cap);
        if (!p)
            return CAIRO_STATUS_NO_MEMORY;
        b->data = p;
        b->capacity = cap;
    }
    memcpy(b->data + b->size, data, length);
    b->size += length;
    return CAIRO_STATUS_SUCCESS;
}

/* A switch's two images, on then off. */
static void switch_pair(cairo_surface_t** img, int id, FaceFn face)
{
    img[0] = switch_images(id, face, 1);
    img[1] = switch_images(id, face, 0);
}

/* Draws every image at the current scale, 5000 first. */
static void draw_all(cairo_surface_t** img)
{
    img[0] = make_background();
    img[1] = make_knob_strip();
    switch_pair(img + 2, 107, power_face);
    switch_pair(img + 4, 106, small_face);
    for (int i = 6; i <= 8; ++i)
        img[i] = make_placeholder();
    img[9] = make_fader_track();
    img[10] = make_fader_cap();
    img[11] = make_level_strip();
    img[12] = make_gr_strip();
    switch_pair(img + 13, 111, small_face);
    switch_pair(img + 15, 112, small_face);
    switch_pair(img + 17, 131, copy_face);
    img[19] = make_save_face();
    img[20] = make_lamp();
}

/* Encodes one image as OUTDIR/name and as a byte array k<id>_<scale> of the C++ source; its size
 * in *size. Non-zero on failure. */
static int write_image(cairo_surface_t* img, const char* dir, const char* name, FILE* cpp,
                       size_t* size)
{
    Buffer b = {0};
    if (cairo_surface_status(img) != CAIRO_STATUS_SUCCESS ||
        cairo_surface_write_to_png_stream(img, append, &b) != CAIRO_STATUS_SUCCESS)
    {
        fprintf(stderr, "gen_images: cannot encode %s\n", name);
        free(b.data);
        return 1;
    }
    int status = 0;
    char path[4096];
    snprintf(path, sizeof path, "%s/%s", dir, name);
    FILE* f = fopen(path, "wb");
    if (!f || fwrite(b.data, 1, b.size, f) != b.size)
    {
        perror(path);
        status = 1;
    }
    if (f)
        fclose(f);
    fprintf(cpp, "const unsigned char k%d_%d[] = {", atoi(name), g_scale);
    for (size_t k = 0; k < b.size; ++k)
        fprintf(cpp, "%s%u,", k % 24 == 0 ? "\n" : "", b.data[k]);
    fprintf(cpp, "\n};\n");
    *size = b.size;
    free(b.data);
    return status;
}

int main(int argc, char** argv)
{
    if (argc != 3)
    {
        fprintf(stderr, "usage: %s OUTDIR OUT.cpp\n", argv[0]);
        return 2;
    }
    enum
    {
        kFirst = 5000,
        kCount = 21,
        kScales = 4
    };
    FILE* cpp = fopen(argv[2], "w");
    if (!cpp)
    {
        perror(argv[2]);
        return 1;
    }
    fprintf(cpp, "// Generated by gen_images: the editor panel's PNG images. Do not edit.\n"
                 "#include \"EmbeddedResources.h\"\n\n"
                 "namespace\n{\n");
    size_t sizes[kScales][kCount];
    int status = 0;
    for (g_scale = 1; g_scale <= kScales && status == 0; ++g_scale)
    {
        g_seed = 0x2545F491u; /* the same grain sequence at every scale */
        cairo_surface_t* img[kCount] = {0};
        draw_all(img);
        for (int i = 0; i < kCount; ++i)
        {
            char name[64];
            if (g_scale == 1)
                snprintf(name, sizeof name, "%d.png", kFirst + i);
            else
                snprintf(name, sizeof name, "%d@%dx.png", kFirst + i, g_scale);
            if (status == 0 && write_image(img[i], argv[1], name, cpp, &sizes[g_scale - 1][i]))
                status = 1;
            cairo_surface_destroy(img[i]);
        }
    }
    if (status == 0)
    {
        fprintf(cpp, "} // namespace\n\nconst EmbeddedResourceEntry kEmbeddedResources[] = {\n");
        for (int n = 1; n <= kScales; ++n)
            for (int i = 0; i < kCount; ++i)
            {
                if (n == 1)
                    fprintf(cpp, "    {\"%d.png\", k%d_1, %zu},\n", kFirst + i, kFirst + i,
                            sizes[0][i]);
                else
                    fprintf(cpp, "    {\"%d@%dx.png\", k%d_%d, %zu},\n", kFirst + i, n, kFirst + i,
                            n, sizes[n - 1][i]);
            }
        fprintf(cpp, "};\nconst size_t kEmbeddedResourceCount = %d;\n", kScales * kCount);
    }
    if (fclose(cpp) != 0)
        status = 1;
    if (status != 0)
        remove(argv[2]); /* no half-written source for the build to pick up */
    return status;
}
