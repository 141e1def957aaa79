// CClapEditor: the CLAP GUI extension over the effect's editor. Only the x11
// API, embedded: set_parent opens the panel as a child of the host's window.
// Instead of effEditIdle the editor is pumped by the host: a timer
// (timer-support, required) and the editor's own X connection, watched
// through posix-fd-support when the host offers it.
//
// Thread: the host's main thread only (every call checks it).
#pragma once

#include "CEditorPump.h"
#include "ClapExtensions.h"

class CClapDeEsser;

class CClapEditor
{
public:
    static const clap::PluginGui s_Gui;
    static const clap::PluginTimerSupport s_TimerSupport;
    static const clap::PluginPosixFdSupport s_FdSupport;

    explicit CClapEditor(CClapDeEsser& owner);
    ~CClapEditor(); // destroys the panel when the host did not

private:
    static CClapEditor* From(const clap::Plugin* plugin);
    bool Create(const char* api, bool isFloating);
    void Destroy();
    bool SetParent(const clap::Window* window);
    void OnTimer(clap::Id id);
    void OnFd(int fd);
    void Pump();
    void WatchEventFd();

    CClapDeEsser& m_Owner;
    CEditorPump m_Pump;
    const clap::HostTimerSupport* m_pHostTimers = nullptr;
    const clap::HostPosixFdSupport* m_pHostFds = nullptr;
    bool m_bCreated = false;
    bool m_bVisible = true;
    clap::Id m_Timer = clap::kInvalidId;
    int m_WatchedFd = -1;
};
