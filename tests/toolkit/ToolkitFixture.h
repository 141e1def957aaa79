// One logging window class and one fixture for the toolkit tests on the
// headless backend: a visible 200x100 top-level window, and at the end no
// window, modal loop or modal hook left behind.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "AfxWin.h"
#include "CHeadless.h"

// What the logging windows received, in order, as "name:what".
extern std::vector<std::string> g_Log;

// Logs its messages; takes the capture on a press when asked to and gives it
// back on the release; paints itself in one colour.
class CLogWnd : public CWnd
{
public:
    std::string m_Name = "w";
    int m_nCreateResult = 0;
    int m_nPaints = 0;
    bool m_bEatKeys = false, m_bCapture = false;

    void Note(const std::string& what) { g_Log.push_back(m_Name + ":" + what); }
    void Note(const char* what, CPoint p)
    {
        Note(std::string(what) + " " + std::to_string(p.x) + "," + std::to_string(p.y));
    }
    int OnCreate(LPCREATESTRUCT cs)
    {
        Note("create " + std::to_string(cs->cx) + "x" + std::to_string(cs->cy));
        return m_nCreateResult;
    }
    void OnDestroy() { Note("destroy"); }
    void OnSetFocus(CWnd* old) { Note(std::string("setfocus from ") + (old ? "wnd" : "none")); }
    void OnKillFocus(CWnd*) { Note("killfocus"); }
    void OnKeyDown(UINT key, UINT, UINT) { Note("key " + std::to_string(key)); }
    void OnLButtonDown(UINT, CPoint p)
    {
        Note("down", p);
        if (m_bCapture)
            SetCapture();
    }
    void OnLButtonDblClk(UINT, CPoint p) { Note("dbl", p); }
    void OnMouseMove(UINT flags, CPoint p) { Note(flags & MK_LBUTTON ? "drag" : "move", p); }
    void OnLButtonUp(UINT, CPoint p)
    {
        Note("up", p);
        if (GetCapture() == this)
            ReleaseCapture();
    }
    void OnCommand(UINT id) { Note("cmd " + std::to_string(id)); }
    void OnTimer(UINT_PTR id) { Note("timer " + std::to_string(id)); }
    void OnPaint()
    {
        ++m_nPaints;
        CPaintDC dc(this);
        dc.FillSolidRect(&dc.m_rcPaint, RGB(0, 128, 255));
    }
    BOOL PreTranslateMessage(UINT message, WPARAM wParam, LPARAM) override
    {
        if (!m_bEatKeys || message != WM_KEYDOWN)
            return FALSE;
        Note("ate " + std::to_string(wParam));
        return TRUE;
    }
    DECLARE_MESSAGE_MAP()
};

class ToolkitTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(CHeadless::Use());
        m_Top.m_Name = "top";
        ASSERT_TRUE(
            m_Top.Create(nullptr, "top", WS_POPUP | WS_VISIBLE, CRect(0, 0, 200, 100), nullptr, 0));
        g_Log.clear();
    }
    void TearDown() override
    {
        CHeadless::SetModalHook(nullptr);
        m_Top.DestroyWindow();
        EXPECT_EQ(CToolkit::WindowCount(), 0);
        EXPECT_EQ(CToolkit::GetModalWindow(), nullptr);
    }
    // A visible child of the top window, named for the log.
    void MakeChild(CLogWnd& w, const char* name, const CRect& r)
    {
        w.m_Name = name;
        ASSERT_TRUE(w.Create(nullptr, "", WS_CHILD | WS_VISIBLE, r, &m_Top, ++m_nLastId));
    }
    int m_nLastId = 0;
    CLogWnd m_Top;
};
