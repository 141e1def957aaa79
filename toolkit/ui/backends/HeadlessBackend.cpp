// Headless backend: native windows are plain records of their bounds; the
// toolkit's back buffers are the only pixels. Time is virtual.
#include "HeadlessBackend.h"

#include <cstring>

#include "AfxWndImpl.h"

namespace
{
class HeadlessWindow : public IBackendWindow
{
public:
    HeadlessWindow(AfxWndKind kind, const CRect& rect) : m_Kind(kind), m_Rect(rect) {}
    void SetBounds(const CRect& rect) override { m_Rect = rect; }
    void Show(bool) override {}
    void Present(HBITMAP, const CRect&) override {}
    void SetFocus() override {}
    void GrabPointer(bool) override {}
    void SetTitle(const char*) override {}
    CPoint ScreenOrigin() const override
    {
        return m_Kind == AFX_KIND_HOST ? CPoint() : m_Rect.TopLeft();
    }
    CSize NativeSize() const override
    {
        // Host views report no size of their own; the panel sizes itself.
        return m_Kind == AFX_KIND_HOST ? CSize() : m_Rect.Size();
    }
    void* NativeHandle() const override { return const_cast<HeadlessWindow*>(this); }

private:
    AfxWndKind m_Kind;
    CRect m_Rect;
};

class HeadlessBackend : public IToolkitBackend
{
public:
    const char* Name() const override { return "headless"; }
    IBackendWindow* CreateNative(HWND, AfxWndKind kind, IBackendWindow*, const CRect& rect, bool,
                                 void*) override
    {
        return new HeadlessWindow(kind, rect);
    }
    void DestroyNative(IBackendWindow* native) override { delete native; }
    void DrainEvents() override {}
    void WaitForEvents(int) override {}
    uint64_t NowMs() const override { return m_Now; }
    CSize ScreenSize() const override { return CSize(1920, 1080); }
    double DesktopScale() override { return m_DesktopScale; }
    void Advance(unsigned ms) { m_Now += ms; }
    double m_DesktopScale = 0.0;

private:
    uint64_t m_Now = 1000;
};
} // namespace

IToolkitBackend* AfxCreateHeadlessBackend()
{
    return new HeadlessBackend;
}

bool AfxHeadlessAdvance(unsigned ms)
{
    IToolkitBackend* b = AfxImpl::State().backend.get();
    if (!b || std::strcmp(b->Name(), "headless") != 0)
        return false;
    static_cast<HeadlessBackend*>(b)->Advance(ms);
    return true;
}

bool AfxHeadlessSetDesktopScale(double scale)
{
    IToolkitBackend* b = AfxImpl::Backend();
    if (std::strcmp(b->Name(), "headless") != 0)
        return false;
    static_cast<HeadlessBackend*>(b)->m_DesktopScale = scale;
    return true;
}
