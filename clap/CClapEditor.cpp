#include "CClapEditor.h"

#include "ADeEsser.h"
#include "CClapDeEsser.h"

#include <cstring>

namespace
{
// The editor's idle period: meters and timers of the panel run from it.
constexpr uint32_t kTimerPeriodMs = 30;

bool IsX11(const char* api)
{
    return api && std::strcmp(api, clap::kWindowApiX11) == 0;
}

template <class T> const T* HostExtension(const clap::Host* host, const char* id)
{
    return static_cast<const T*>(host->getExtension(host, id));
}
} // namespace

CClapEditor::CClapEditor(CClapDeEsser& owner)
    : m_Owner(owner), m_Pump(owner.Wrapped().Effect()),
      m_pHostTimers(HostExtension<clap::HostTimerSupport>(owner.Host(), clap::kExtTimerSupport)),
      m_pHostFds(HostExtension<clap::HostPosixFdSupport>(owner.Host(), clap::kExtPosixFdSupport))
{
    if (m_pHostTimers && (!m_pHostTimers->registerTimer || !m_pHostTimers->unregisterTimer))
        m_pHostTimers = nullptr;
    if (m_pHostFds && (!m_pHostFds->registerFd || !m_pHostFds->unregisterFd))
        m_pHostFds = nullptr;
}

CClapEditor::~CClapEditor()
{
    Destroy();
}

CClapEditor* CClapEditor::From(const clap::Plugin* plugin)
{
    CClapDeEsser* owner = CClapDeEsser::From(plugin);
    return owner->OnMainThread() ? owner->Editor() : nullptr;
}

bool CClapEditor::Create(const char* api, bool isFloating)
{
    // Without host timers nothing would idle the panel.
    if (m_bCreated || !IsX11(api) || isFloating || !m_pHostTimers)
        return false;
    m_bCreated = true;
    m_bVisible = true;
    return true;
}

void CClapEditor::Destroy()
{
    if (!m_bCreated)
        return;
    // The descriptor is the editor's connection: let go of it before it closes.
    if (m_WatchedFd >= 0)
        m_pHostFds->unregisterFd(m_Owner.Host(), m_WatchedFd);
    m_WatchedFd = -1;
    if (m_Timer != clap::kInvalidId)
        m_pHostTimers->unregisterTimer(m_Owner.Host(), m_Timer);
    m_Timer = clap::kInvalidId;
    m_Pump.Close();
    m_Owner.EndGestures(false);
    m_bCreated = false;
}

bool CClapEditor::SetParent(const clap::Window* window)
{
    if (!m_bCreated || !window || !IsX11(window->api) || !window->x11)
        return false;
    if (!m_Pump.Open(window->x11))
        return false;
    if (m_Timer == clap::kInvalidId &&
        !m_pHostTimers->registerTimer(m_Owner.Host(), kTimerPeriodMs, &m_Timer))
        m_Timer = clap::kInvalidId;
    WatchEventFd();
    return true;
}

void CClapEditor::OnTimer(clap::Id id)
{
    if (id != m_Timer)
        return;
    m_Owner.EndGestures(true);
    if (m_bVisible)
        Pump();
}

void CClapEditor::OnFd(int fd)
{
    if (fd == m_WatchedFd)
        Pump();
}

void CClapEditor::Pump()
{
    m_Pump.Idle();
    WatchEventFd();
}

// Keeps the host watching the editor's current connection (none once closed).
void CClapEditor::WatchEventFd()
{
    const int fd = m_Pump.EventFd();
    if (fd == m_WatchedFd || !m_pHostFds)
        return;
    if (m_WatchedFd >= 0)
        m_pHostFds->unregisterFd(m_Owner.Host(), m_WatchedFd);
    m_WatchedFd = -1;
    if (fd >= 0 && m_pHostFds->registerFd(m_Owner.Host(), fd, clap::kFdRead))
        m_WatchedFd = fd;
}

const clap::PluginGui CClapEditor::s_Gui{
    [](const clap::Plugin*, const char* api, bool isFloating) { return IsX11(api) && !isFloating; },
    [](const clap::Plugin*, const char** api, bool* isFloating)
    {
        if (!api || !isFloating)
            return false;
        *api = clap::kWindowApiX11;
        *isFloating = false;
        return true;
    },
    [](const clap::Plugin* p, const char* api, bool isFloating)
    {
        CClapEditor* self = From(p);
        return self && self->Create(api, isFloating);
    },
    [](const clap::Plugin* p)
    {
        if (CClapEditor* self = From(p))
            self->Destroy();
    },
    [](const clap::Plugin* p, double scale)
    {
        CClapEditor* self = From(p);
        if (!self || !self->m_bCreated)
            return false;
        self->m_Pump.SetScale((float)scale);
        return self->m_Pump.Scale() == (float)scale;
    },
    [](const clap::Plugin* p, uint32_t* width, uint32_t* height)
    {
        CClapEditor* self = From(p);
        int w = 0, h = 0;
        if (!self || !self->m_bCreated || !width || !height || !self->m_Pump.GetSize(&w, &h))
            return false;
        *width = (uint32_t)w;
        *height = (uint32_t)h;
        return true;
    },
    [](const clap::Plugin*) { return false; },
    [](const clap::Plugin*, clap::GuiResizeHints*) { return false; },
    [](const clap::Plugin*, uint32_t*, uint32_t*) { return false; },
    [](const clap::Plugin* p, uint32_t width, uint32_t height)
    {
        // Fixed size: only the size it already has is accepted.
        CClapEditor* self = From(p);
        int w = 0, h = 0;
        return self && self->m_bCreated && self->m_Pump.GetSize(&w, &h) && (uint32_t)w == width &&
               (uint32_t)h == height;
    },
    [](const clap::Plugin* p, const clap::Window* window)
    {
        CClapEditor* self = From(p);
        return self && self->SetParent(window);
    },
    [](const clap::Plugin*, const clap::Window*) { return false; },
    [](const clap::Plugin*, const char*) {},
    [](const clap::Plugin* p)
    {
        CClapEditor* self = From(p);
        return self && self->m_bCreated && (self->m_bVisible = true);
    },
    [](const clap::Plugin* p)
    {
        CClapEditor* self = From(p);
        return self && self->m_bCreated && !(self->m_bVisible = false);
    }};

const clap::PluginTimerSupport CClapEditor::s_TimerSupport{[](const clap::Plugin* p, clap::Id id)
                                                           {
                                                               if (CClapEditor* self = From(p))
                                                                   self->OnTimer(id);
                                                           }};

const clap::PluginPosixFdSupport CClapEditor::s_FdSupport{
    [](const clap::Plugin* p, int fd, uint32_t)
    {
        if (CClapEditor* self = From(p))
            self->OnFd(fd);
    }};
