/* Composes a picture of the panel from the generated images the way the editor paints it
 * (background, value texts, meters, lamp, then the controls), for checking the artwork by eye.
 *
 * Usage: make_preview IMAGEDIR OUT.png
 */
#include <cairo.h>
#include <math.h>
#include <stdio.h>

static cairo_surface_t* g_img[21];

static cairo_surface_t* img(int id)
{
    return g_img[id - 5000];
}

static int height(int id)
{
    return cairo_image_surface_get_height(img(id));
}

static int width(int id)
{
    return cairo_image_surface_get_width(img(id));
}

/* Copies the w x h block at (sx, sy) of image id to (dx, dy). */
static void blit(cairo_t* cr, int id, int sx, int sy, int w, int h, int dx, int dy)
{
    cairo_save(cr);
    cairo_rectangle(cr, dx, dy, w, h);
    cairo_clip(cr);
    cairo_set_source_surface(cr, img(id), dx - sx, dy - sy);
    cairo_paint(cr);
    cairo_restore(cr);
}

static void knob(cairo_t* cr, int x, int y, double v)
{
    int k = (int)floor(v * 60 + 0.5);
    blit(cr, 5001, 0, k * 34, 34, 34, x, y);
}

static void fader(cairo_t* cr, int x, int y, double v)
{
    double s = height(5009) - height(5010) / 2, e = height(5010) / 2;
    double t = log10(v * 9 + 1);
    double p = s - t * (s - e);
    blit(cr, 5009, 0, 0, width(5009), height(5009), x, y);
    blit(cr, 5010, 0, 0, width(5010), height(5010), x, y + (int)(p - height(5010) / 2));
}

static void level(cairo_t* cr, int x, int y, float db)
{
    int half = width(5011) / 2;
    int row = (int)(db * -3.0 + 19.0);
    blit(cr, 5011, 0, 0, half, height(5011), x, y);
    blit(cr, 5011, half, row, half, height(5011) - row, x, y + row);
}

static void reduction(cairo_t* cr, int x, int y, float db)
{
    int half = width(5012) / 2;
    int h = -(int)(height(5012) / 40.0 * db);
    blit(cr, 5012, 0, 0, half, height(5012), x, y);
    if (h > 0)
        blit(cr, 5012, half, 0, half, h, x + 0, y);
}

/* A switch: image0 at value 0, image1 otherwise; upper half released, lower half pressed. */
static void sw(cairo_t* cr, int x, int y, int image0, int image1, int value, int pressed)
{
    int id = value ? image1 : image0;
    int h = height(image0) / 2;
    blit(cr, id, 0, pressed ? h : 0, width(id), h, x, y);
}

static void value_text(cairo_t* cr, int l, int t, int r, int b, const char* s)
{
    cairo_text_extents_t e;
    cairo_select_font_face(cr, "IPAGothic", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cr, 11);
    cairo_text_extents(cr, s, &e);
    cairo_set_source_rgb(cr, 72 / 255.0, 72 / 255.0, 72 / 255.0);
    cairo_move_to(cr, l + ((r - l) - e.x_advance) / 2, t + (b - t) / 2.0 + 4.5);
    cairo_show_text(cr, s);
}

int main(int argc, char** argv)
{
    if (argc != 3)
    {
        fprintf(stderr, "usage: %s IMAGEDIR OUT.png\n", argv[0]);
        return 2;
    }
    for (int i = 0; i < 21; ++i)
    {
        char path[4096];
        snprintf(path, sizeof path, "%s/%d.png", argv[1], 5000 + i);
        g_img[i] = cairo_image_surface_create_from_png(path);
        if (cairo_surface_status(g_img[i]) != CAIRO_STATUS_SUCCESS)
        {
            fprintf(stderr, "cannot read %s\n", path);
            return 1;
        }
    }
    int w = width(5000), h = height(5000);
    cairo_surface_t* out = cairo_image_surface_create(CAIRO_FORMAT_RGB24, w, h);
    cairo_t* cr = cairo_create(out);
    blit(cr, 5000, 0, 0, w, h, 0, 0);

    value_text(cr, 92, 93, 140, 107, "4000.0");
    value_text(cr, 92, 178, 140, 192, "8000.0");
    value_text(cr, 255, 105, 303, 119, "-24.5");
    value_text(cr, 255, 180, 303, 194, "2.0");
    value_text(cr, 326, 105, 374, 119, "0.12");
    value_text(cr, 326, 180, 374, 194, "4.0");
    value_text(cr, 404, 186, 438, 200, "0.0");
    value_text(cr, 14, 186, 48, 200, "-3.2");

    level(cr, 29, 45, -4.0f);
    level(cr, 38, 45, -7.5f);
    level(cr, 422, 45, 1.5f);
    level(cr, 431, 45, -38.0f);
    reduction(cr, 198, 55, -12.0f);

    blit(cr, 5019, 0, 0, 43, 16, 195, 10);
    blit(cr, 5020, 0, height(5020) / 2, 43, 16, 141, 10);

    knob(cr, 99, 54, 0.111);
    knob(cr, 99, 139, 0.333);
    knob(cr, 262, 66, 0.755);
    knob(cr, 262, 141, 0.1);
    knob(cr, 333, 66, 0.0);
    knob(cr, 333, 141, 1.0);
    fader(cr, 48, 45, 0.8);
    fader(cr, 403, 45, 0.0999);
    sw(cr, 23, 7, 5003, 5002, 1, 0);
    sw(cr, 168, 68, 5014, 5013, 0, 0);
    sw(cr, 168, 85, 5016, 5015, 1, 0);
    sw(cr, 305, 56, 5005, 5004, 1, 1);
    sw(cr, 64, 10, 5018, 5017, 0, 0);

    cairo_destroy(cr);
    cairo_status_t st = cairo_surface_write_to_png(out, argv[2]);
    cairo_surface_destroy(out);
    for (int i = 0; i < 21; ++i)
        cairo_surface_destroy(g_img[i]);
    return st == CAIRO_STATUS_SUCCESS ? 0 : 1;
}
