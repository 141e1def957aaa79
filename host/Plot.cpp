// cairo drawing of the demo plot: three panels sharing one time axis.
#include "Plot.h"
#include "HostError.h"
#include "COutputFile.h"

#include <algorithm>

#include <cairo.h>
#include <cmath>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace
{
cairo_status_t writeToFd(void* closure, const unsigned char* data, unsigned int length)
{
    int fd = *(int*)closure;
    while (length > 0)
    {
        ssize_t n = write(fd, data, length);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return CAIRO_STATUS_WRITE_ERROR;
        data += n;
        length -= (unsigned int)n;
    }
    return CAIRO_STATUS_SUCCESS;
}

struct Color
{
    double r, g, b;
};
const Color kInputColor = {0.55, 0.62, 0.72};
const Color kOutputColor = {0.10, 0.35, 0.70};
const Color kBandColor = {0.85, 0.25, 0.15};
const Color kWideColor = {0.35, 0.35, 0.35};
const Color kGrid = {0.88, 0.88, 0.88};
const Color kText = {0.15, 0.15, 0.15};

void setColor(cairo_t* cr, const Color& c, double alpha = 1.0)
{
    cairo_set_source_rgba(cr, c.r, c.g, c.b, alpha);
}

void text(cairo_t* cr, double x, double y, const std::string& s, double size, double alignX = 0,
          double alignY = 0, bool bold = false)
{
    cairo_select_font_face(cr, "sans-serif", CAIRO_FONT_SLANT_NORMAL,
                           bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cr, size);
    cairo_text_extents_t e;
    cairo_text_extents(cr, s.c_str(), &e);
    cairo_move_to(cr, x - alignX * e.width - e.x_bearing, y - alignY * e.height - e.y_bearing);
    cairo_show_text(cr, s.c_str());
}

struct Panel
{
    double x, y, w, h; // device rectangle
    double t0, t1;     // time range, s
    double v0, v1;     // value range (bottom, top)
    double X(double t) const { return x + (t - t0) / (t1 - t0) * w; }
    double Y(double v) const { return y + h - (v - v0) / (v1 - v0) * h; }
};

std::string fmt(const char* f, double v)
{
    char buf[32];
    std::snprintf(buf, sizeof(buf), f, v);
    return buf;
}

// Seconds between time ticks: about ten ticks whatever the length.
double timeStep(double seconds)
{
    const double steps[] = {0.5, 1, 2, 5, 10, 15, 30, 60, 120, 300, 600, 900, 1800, 3600};
    for (double s : steps)
        if (seconds / s <= 12)
            return s;
    return 7200;
}

void drawFrame(cairo_t* cr, const Panel& p, const std::vector<double>& yTicks, const char* yFmt,
               const std::string& yLabel, bool timeLabels)
{
    cairo_set_source_rgb(cr, 1, 1, 1);
    cairo_rectangle(cr, p.x, p.y, p.w, p.h);
    cairo_fill(cr);
    cairo_set_line_width(cr, 1.0);
    setColor(cr, kGrid);
    const double step = timeStep(p.t1 - p.t0);
    for (double t = std::ceil(p.t0 / step) * step; t <= p.t1 + 1e-9; t += step)
    {
        cairo_move_to(cr, std::round(p.X(t)) + 0.5, p.y);
        cairo_line_to(cr, std::round(p.X(t)) + 0.5, p.y + p.h);
    }
    for (double v : yTicks)
    {
        cairo_move_to(cr, p.x, std::round(p.Y(v)) + 0.5);
        cairo_line_to(cr, p.x + p.w, std::round(p.Y(v)) + 0.5);
    }
    cairo_stroke(cr);
    setColor(cr, kText);
    for (double v : yTicks)
        text(cr, p.x - 8, p.Y(v), fmt(yFmt, v), 12, 1.0, 0.5);
    for (double t = std::ceil(p.t0 / step) * step; t <= p.t1 + 1e-9; t += step)
    {
        cairo_move_to(cr, p.X(t), p.y + p.h);
        cairo_line_to(cr, p.X(t), p.y + p.h + 5);
        cairo_stroke(cr);
        if (timeLabels)
            text(cr, p.X(t), p.y + p.h + 9, fmt(step < 1 ? "%.1f" : "%.0f", t), 12, 0.5, 0.0);
    }
    cairo_save(cr);
    cairo_translate(cr, p.x - 62, p.y + p.h / 2);
    cairo_rotate(cr, -M_PI / 2);
    text(cr, 0, 0, yLabel, 13, 0.5, 0.5);
    cairo_restore(cr);
    cairo_set_source_rgb(cr, 0.3, 0.3, 0.3);
    cairo_rectangle(cr, p.x + 0.5, p.y + 0.5, p.w - 1, p.h - 1);
    cairo_stroke(cr);
}

// Min/max envelope per device column.
void drawWave(cairo_t* cr, const Panel& p, const CWaveEnvelope* e, const Color& c, double alpha)
{
    if (!e || e->Buckets() == 0)
        return;
    setColor(cr, c, alpha);
    int columns = (int)p.w;
    const double bucket = e->BucketSeconds();
    for (int col = 0; col < columns; ++col)
    {
        // One column either side as well, so that pitch pulses narrower than a
        // column do not turn into stripes.
        double ta = p.t0 + (p.t1 - p.t0) * (col - 1) / columns;
        double tb = p.t0 + (p.t1 - p.t0) * (col + 2) / columns;
        long long a = std::max(0LL, (long long)(ta / bucket));
        long long b = std::max(a + 1, (long long)(tb / bucket));
        float lo, hi;
        if (!e->Range(a, b, &lo, &hi))
            continue;
        double y0 = p.Y(std::max((double)lo, p.v0)), y1 = p.Y(std::min((double)hi, p.v1));
        cairo_rectangle(cr, p.x + col, y1, 1.0, std::max(1.0, y0 - y1));
    }
    cairo_fill(cr);
}

void drawCurve(cairo_t* cr, const Panel& p, const std::vector<double>& curve, double step,
               const Color& c, double width)
{
    setColor(cr, c);
    cairo_set_line_width(cr, width);
    cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
    // A long curve is drawn as its lowest value per device column (the
    // largest reduction there), so the path stays small whatever the length.
    const size_t perColumn = std::max<size_t>(1, curve.size() / std::max(1, (int)p.w));
    bool pen = false;
    for (size_t i = 0; i < curve.size(); i += perColumn)
    {
        double v = NAN;
        for (size_t k = i; k < std::min(curve.size(), i + perColumn); ++k)
            if (!std::isnan(curve[k]) && !(v <= curve[k]))
                v = curve[k];
        if (std::isnan(v))
        {
            pen = false;
            continue;
        }
        double t = (i + 0.5 * perColumn) * step;
        v = std::max(p.v0, std::min(p.v1, v));
        if (pen)
            cairo_line_to(cr, p.X(t), p.Y(v));
        else
            cairo_move_to(cr, p.X(t), p.Y(v));
        pen = true;
    }
    cairo_stroke(cr);
}

void legend(cairo_t* cr, double x, double y,
            const std::vector<std::pair<Color, std::string>>& items, bool lines)
{
    double width = 0;
    cairo_set_font_size(cr, 12);
    for (const auto& it : items)
    {
        cairo_text_extents_t e;
        cairo_text_extents(cr, it.second.c_str(), &e);
        width = std::max(width, e.x_advance);
    }
    double boxW = width + 44, boxH = 20.0 * items.size() + 8;
    cairo_set_source_rgba(cr, 1, 1, 1, 0.9);
    cairo_rectangle(cr, x - boxW, y, boxW, boxH);
    cairo_fill_preserve(cr);
    cairo_set_source_rgb(cr, 0.7, 0.7, 0.7);
    cairo_set_line_width(cr, 1);
    cairo_stroke(cr);
    for (size_t i = 0; i < items.size(); ++i)
    {
        double cy = y + 14 + 20.0 * i;
        setColor(cr, items[i].first);
        if (lines)
        {
            cairo_set_line_width(cr, 2.5);
            cairo_move_to(cr, x - boxW + 8, cy);
            cairo_line_to(cr, x - boxW + 30, cy);
            cairo_stroke(cr);
        }
        else
        {
            cairo_rectangle(cr, x - boxW + 8, cy - 6, 22, 12);
            cairo_fill(cr);
        }
        setColor(cr, kText);
        text(cr, x - boxW + 36, cy, items[i].second, 12, 0, 0.5);
    }
}
} // namespace

CWaveEnvelope::CWaveEnvelope(long long totalFrames, double sampleRate, int buckets)
    : m_SampleRate(sampleRate)
{
    m_BucketFrames = std::max(1LL, (totalFrames + buckets - 1) / std::max(1, buckets));
}

void CWaveEnvelope::Add(const float* x, int channels, long long frames)
{
    for (long long i = 0; i < frames; ++i, ++m_Frames)
    {
        float sum = 0;
        for (int c = 0; c < channels; ++c)
            sum += x[i * channels + c];
        float v = std::isfinite(sum) ? sum / (float)channels : 0.f;
        if (m_Frames % m_BucketFrames == 0)
        {
            m_Lo.push_back(v);
            m_Hi.push_back(v);
        }
        m_Lo.back() = std::min(m_Lo.back(), v);
        m_Hi.back() = std::max(m_Hi.back(), v);
    }
}

double CWaveEnvelope::Peak() const
{
    double peak = 0;
    for (size_t i = 0; i < m_Lo.size(); ++i)
        peak = std::max(peak, (double)std::max(-m_Lo[i], m_Hi[i]));
    return peak;
}

bool CWaveEnvelope::Range(long long a, long long b, float* lo, float* hi) const
{
    b = std::min(b, Buckets());
    if (a >= b)
        return false;
    *lo = *std::min_element(m_Lo.begin() + a, m_Lo.begin() + b);
    *hi = *std::max_element(m_Hi.begin() + a, m_Hi.begin() + b);
    return true;
}

void WritePlot(const PlotData& d, const std::string& pngPath, int width, int height)
{
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
    cairo_t* cr = cairo_create(surface);
    cairo_set_source_rgb(cr, 0.97, 0.97, 0.96);
    cairo_paint(cr);

    double seconds =
        std::max(d.input ? d.input->Seconds() : 0.0, d.output ? d.output->Seconds() : 0.0);
    seconds = std::max(seconds, 1e-3);
    double left = 100, right = 30, top = 80, gap = 30, bottom = 60;
    double panelH = (height - top - bottom - 2 * gap) / 3.0;
    double w = width - left - right;

    setColor(cr, kText);
    text(cr, left, 22, d.title, 20, 0, 0, true);
    text(cr, left, 50, d.subtitle, 13);

    double peak = std::max(d.input ? d.input->Peak() : 0.0, d.output ? d.output->Peak() : 0.0);
    double range = peak > 0.5 ? 1.0 : 0.5;
    std::vector<double> ampTicks = {-range, -range / 2, 0, range / 2, range};

    Panel in = {left, top, w, panelH, 0, seconds, -range, range};
    drawFrame(cr, in, ampTicks, "%.2f", "input (amplitude)", false);
    drawWave(cr, in, d.input, kInputColor, 1.0);

    Panel out = {left, top + panelH + gap, w, panelH, 0, seconds, -range, range};
    drawFrame(cr, out, ampTicks, "%.2f", "output (amplitude)", false);
    drawWave(cr, out, d.input, kInputColor, 0.35);
    drawWave(cr, out, d.output, kOutputColor, 1.0);

    double lowest = 0;
    for (double g : d.bandGain)
        if (!std::isnan(g))
            lowest = std::min(lowest, g);
    for (double g : d.wideGain)
        if (!std::isnan(g))
            lowest = std::min(lowest, g);
    double floorDb = -6.0 * std::ceil((-lowest + 1.0) / 6.0);
    floorDb = std::max(-60.0, std::min(-6.0, floorDb));
    std::vector<double> dbTicks;
    double tickStep = floorDb < -30 ? 12.0 : (floorDb < -12 ? 6.0 : 3.0);
    for (double v = 0; v >= floorDb - 1e-9; v -= tickStep)
        dbTicks.push_back(v);
    Panel gain = {left, top + 2 * (panelH + gap), w, panelH, 0, seconds, floorDb, 3.0};
    drawFrame(cr, gain, dbTicks, "%.0f", "gain change (dB)", true);
    cairo_set_source_rgb(cr, 0.6, 0.6, 0.6);
    cairo_set_line_width(cr, 1);
    cairo_move_to(cr, gain.x, std::round(gain.Y(0)) + 0.5);
    cairo_line_to(cr, gain.x + gain.w, std::round(gain.Y(0)) + 0.5);
    cairo_stroke(cr);
    drawCurve(cr, gain, d.wideGain, d.windowSeconds, kWideColor, 1.5);
    drawCurve(cr, gain, d.bandGain, d.windowSeconds, kBandColor, 2.5);
    setColor(cr, kText);
    text(cr, left + w / 2, height - 22, "time (s)", 13, 0.5, 0.5);

    // The legends sit in the header, clear of the data.
    legend(
        cr, left + w - 200, 8,
        {{kInputColor, "input waveform"}, {kOutputColor, "output waveform (input faint behind)"}},
        false);
    legend(cr, left + w, 8,
           {{kBandColor, "gain, 5-9 kHz band"}, {kWideColor, "gain, whole signal"}}, true);

    cairo_destroy(cr);
    cairo_surface_flush(surface);
    // Written under a temporary name and renamed, like every other output.
    COutputFile file(pngPath, true);
    int fd = file.DupFd();
    cairo_status_t status = cairo_surface_write_to_png_stream(surface, writeToFd, &fd);
    close(fd);
    cairo_surface_destroy(surface);
    if (status != CAIRO_STATUS_SUCCESS)
        throw CHostError("cannot write " + pngPath + ": " + cairo_status_to_string(status));
    file.Commit();
}
