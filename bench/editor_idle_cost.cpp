// Measures what the open editor costs the host's UI thread: the plug-in is
// loaded as a host loads it, its editor opened into an X11 window, and
// effEditIdle called N times at a host's rate (30 Hz) while a block of audio
// is processed before each call, so the meters move all the time.
//
//   xvfb-run -a ./editor_idle_cost [calls=1000] [rate_hz=30]
//
// Prints the thread CPU time spent inside effEditIdle (per call and as a
// share of one core at that rate) and the whole process's CPU time.
#include "HostHarness.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

#include <X11/Xlib.h>

namespace
{
double ThreadCpuMs()
{
    timespec ts;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return ts.tv_sec * 1e3 + ts.tv_nsec / 1e6;
}

double ProcessCpuMs()
{
    rusage ru;
    getrusage(RUSAGE_SELF, &ru);
    return (ru.ru_utime.tv_sec + ru.ru_stime.tv_sec) * 1e3 +
           (ru.ru_utime.tv_usec + ru.ru_stime.tv_usec) / 1e3;
}
} // namespace

int main(int argc, char** argv)
{
    const int calls = argc > 1 ? std::atoi(argv[1]) : 1000;
    const double rate = argc > 2 ? std::atof(argv[2]) : 30.0;
    Display* display = XOpenDisplay(nullptr);
    if (!display)
    {
        std::fprintf(stderr, "cannot open $DISPLAY (run under xvfb-run -a)\n");
        return 1;
    }
    HostHarness plugin;
    AEffect* effect = plugin.Create();
    if (!effect)
        return 1;
    auto dispatch = [&plugin](VstInt32 op, VstInt32 index = 0, VstIntPtr value = 0,
                              void* ptr = nullptr, float opt = 0.f)
    { return plugin.Dispatch(op, index, value, ptr, opt); };
    plugin.Start(44100.f, 1470);

    ERect* rect = nullptr;
    dispatch(effEditGetRect, 0, 0, &rect);
    Window host = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0,
                                      rect->right - rect->left, rect->bottom - rect->top, 0, 0, 0);
    XMapWindow(display, host);
    XSync(display, False);
    dispatch(effEditOpen, 0, 0, (void*)(uintptr_t)host);

    // One host frame of audio per idle call: a 6 kHz burst every other frame.
    const int frames = (int)(44100.0 / rate);
    std::vector<float> inL(frames), inR(frames), outL(frames), outR(frames);
    float* in[2] = {inL.data(), inR.data()};
    float* out[2] = {outL.data(), outR.data()};

    const double process0 = ProcessCpuMs();
    double idleMs = 0.0;
    for (int i = 0; i < calls; ++i)
    {
        const float amp = (i / 10) % 2 ? 0.5f : 0.f;
        for (int n = 0; n < frames; ++n)
            inL[n] = inR[n] = amp * std::sin(2.0 * M_PI * 6000.0 * n / 44100.0);
        effect->processReplacing(effect, in, out, frames);
        const double t0 = ThreadCpuMs();
        dispatch(effEditIdle);
        idleMs += ThreadCpuMs() - t0;
        usleep((useconds_t)(1e6 / rate));
    }
    const double processMs = ProcessCpuMs() - process0;

    std::printf("%d idle calls at %.0f Hz\n", calls, rate);
    std::printf("  CPU inside effEditIdle: %.3f ms total, %.4f ms per call, %.2f %% of one core\n",
                idleMs, idleMs / calls, idleMs / calls * rate / 10.0);
    std::printf("  whole process (audio included): %.1f ms CPU over %.1f s\n", processMs,
                calls / rate);

    dispatch(effEditClose);
    dispatch(effMainsChanged, 0, 0);
    plugin.Close();
    XDestroyWindow(display, host);
    XCloseDisplay(display);
    return 0;
}
