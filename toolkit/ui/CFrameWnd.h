// The window that stands for the host's native view: the editor stores the
// view the host hands over in it, and the panel is created as its child.
// The frame never paints, never destroys the host's view, and survives the
// host destroying that view first.
#pragma once

#include "CWnd.h"

class CFrameWnd : public CWnd
{
public:
    CFrameWnd() = default;
    ~CFrameWnd() override;

    // Stores the host's view (an X11 Window id on x11, any non-null value on
    // the headless backend) and makes this object a window standing for it.
    // Null detaches: children must be destroyed before.
    void SetNativeView(void* view);
    void* GetHostView() const { return m_pHostView; }

    LPCTSTR GetClassName() const override { return "CFrameWnd"; }
    BOOL DestroyWindow() override;

private:
    void* m_pHostView = nullptr;

    DECLARE_MESSAGE_MAP()
};
