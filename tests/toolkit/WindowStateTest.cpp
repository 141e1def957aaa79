// Windows and input on the headless backend: visibility through parents,
// focus messages, pre-translation, mouse routing with capture, double clicks,
// stacking of overlapping children, and what destruction clears. (Sizing is
// shown through the entry field's tests.)
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "AfxWin.h"
#include "CHeadless.h"

namespace
{
std::vector<std::string> g_Events;

// Logs what it receives as "name:what"; takes the capture on a press when
// asked to, and gives it back on the release.
class CStateWnd : public CWnd
{
public:
    std::string m_Name;
    bool m_bEatKeys = false;
    bool m_bCapture = false;
    void Note(const std::string& what) { g_Events.push_back(m_Name + ":" + what); }
    void Note(const char* what, CPoint p)
    {
        Note(std::string(what) + " " + std::to_string(p.x) + "," + std::to_string(p.y));
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
    BOOL PreTranslateMessage(UINT message, WPARAM wParam, LPARAM) override
    {
        if (m_bEatKeys && message == WM_KEYDOWN)
        {
            Note("ate " + std::to_string(wParam));
            return TRUE;
        }
        return FALSE;
    }
    DECLARE_MESSAGE_MAP()
};
BEGIN_MESSAGE_MAP(CStateWnd, CWnd)
ON_WM_DESTROY()
ON_WM_SETFOCUS()
ON_WM_KILLFOCUS()
ON_WM_KEYDOWN()
ON_WM_LBUTTONDOWN()
ON_WM_LBUTTONDBLCLK()
ON_WM_MOUSEMOVE()
ON_WM_LBUTTONUP()
END_MESSAGE_MAP()

class ToolkitWindowState : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(CHeadless::Use());
        g_Events.clear();
        m_Top.m_Name = "top";
        ASSERT_TRUE(
            m_Top.Create(nullptr, "top", WS_POPUP | WS_VISIBLE, CRect(0, 0, 200, 100), nullptr, 0));
        g_Events.clear();
    }
    void TearDown() override
    {
        m_Top.DestroyWindow();
        EXPECT_EQ(CToolkit::WindowCount(), 0);
    }
    // A visible child of the top window, named for the event log.
    void MakeChild(CStateWnd& w, const char* name, const CRect& r)
    {
        w.m_Name = name;
        ASSERT_TRUE(w.Create(nullptr, "", WS_CHILD | WS_VISIBLE, r, &m_Top, ++m_nLastId));
    }
    int m_nLastId = 0;
    CStateWnd m_Top;
};
} // namespace

TEST_F(ToolkitWindowState, VisibilityFollowsParentsAndShowReturnsThePreviousState)
{
    CStateWnd child;
    child.m_Name = "child";
    ASSERT_TRUE(child.Create(nullptr, "", WS_CHILD, CRect(0, 0, 10, 10), &m_Top, 1));
    EXPECT_FALSE(child.IsWindowVisible());
    EXPECT_FALSE(child.ShowWindow(SW_SHOW));
    EXPECT_TRUE(child.IsWindowVisible());
    EXPECT_TRUE(child.ShowWindow(SW_SHOW));
    m_Top.ShowWindow(SW_HIDE);
    EXPECT_FALSE(child.IsWindowVisible()); // hidden with its parent
    m_Top.ShowWindow(SW_SHOW);
    EXPECT_TRUE(child.IsWindowVisible());
    EXPECT_NE(child.GetStyle() & WS_VISIBLE, 0u);
    child.ShowWindow(SW_HIDE);
    EXPECT_EQ(child.GetStyle() & WS_VISIBLE, 0u);
}

TEST_F(ToolkitWindowState, FocusMessagesAndPreTranslation)
{
    CStateWnd a, b;
    MakeChild(a, "a", CRect(0, 0, 10, 10));
    MakeChild(b, "b", CRect(20, 0, 30, 10));
    g_Events.clear();
    EXPECT_EQ(a.SetFocus(), nullptr);
    EXPECT_EQ(b.SetFocus(), &a);
    EXPECT_EQ(CWnd::GetFocus(), &b);
    CHeadless::Key(VK_LEFT);
    m_Top.m_bEatKeys = true; // the parent sees keys first now
    CHeadless::Key(VK_RIGHT);
    std::vector<std::string> expected = {"a:setfocus from none", "a:killfocus",
                                         "b:setfocus from wnd", "b:key 37", "top:ate 39"};
    EXPECT_EQ(g_Events, expected);
    // Hiding the focus window drops the focus; destroying the capture drops it.
    b.ShowWindow(SW_HIDE);
    EXPECT_EQ(CWnd::GetFocus(), nullptr);
    a.SetCapture();
    EXPECT_EQ(CWnd::GetCapture(), &a);
    a.DestroyWindow();
    EXPECT_EQ(CWnd::GetCapture(), nullptr);
}

TEST_F(ToolkitWindowState, LaterChildrenAreOnTopAndDestructionGoesParentFirst)
{
    CStateWnd under, over;
    MakeChild(under, "under", CRect(0, 0, 100, 100));
    MakeChild(over, "over", CRect(50, 0, 100, 50));
    g_Events.clear();
    CHeadless::Click(&m_Top, CPoint(60, 10)); // both contain it: the later one wins
    CHeadless::Click(&m_Top, CPoint(20, 10));
    CHeadless::Click(&m_Top, CPoint(150, 10)); // the top window itself
    EXPECT_EQ(g_Events,
              (std::vector<std::string>{"over:down 10,10", "over:up 10,10", "under:down 20,10",
                                        "under:up 20,10", "top:down 150,10", "top:up 150,10"}));

    g_Events.clear();
    m_Top.DestroyWindow();
    EXPECT_EQ(g_Events.front(), "top:destroy");
    EXPECT_EQ(g_Events.size(), 3u);
    EXPECT_EQ(under.m_hWnd, nullptr);
    EXPECT_EQ(over.m_hWnd, nullptr);
    EXPECT_FALSE(over.DestroyWindow()); // already gone
}

TEST_F(ToolkitWindowState, CaptureRoutesMovesAndReleaseToTheCapturingWindow)
{
    m_Top.MoveWindow(100, 100, 200, 100);
    CStateWnd knob;
    MakeChild(knob, "knob", CRect(10, 20, 50, 60));
    knob.m_bCapture = true;

    CHeadless::MouseMove(&m_Top, CPoint(15, 25)); // over the child: the child gets it
    CHeadless::MouseDown(&m_Top, CPoint(15, 25));
    EXPECT_EQ(CWnd::GetCapture(), &knob);
    CHeadless::MouseMove(&m_Top, CPoint(150, 90)); // far outside the child
    CHeadless::MouseUp(&m_Top, CPoint(-5, 95));
    EXPECT_EQ(CWnd::GetCapture(), nullptr);
    CHeadless::MouseMove(&m_Top, CPoint(150, 90)); // no capture: the parent again
    std::vector<std::string> expected = {"knob:move 5,5", "knob:down 5,5", "knob:drag 140,70",
                                         "knob:up -15,75", "top:move 150,90"};
    EXPECT_EQ(g_Events, expected);

    // Hidden and disabled children take no input.
    g_Events.clear();
    knob.EnableWindow(FALSE);
    CHeadless::MouseDown(&m_Top, CPoint(15, 25));
    knob.EnableWindow(TRUE);
    knob.ShowWindow(SW_HIDE);
    CHeadless::Click(&m_Top, CPoint(15, 25));
    EXPECT_EQ(g_Events, (std::vector<std::string>{"top:down 15,25", "top:up 15,25"}));
}

TEST_F(ToolkitWindowState, DoubleClicksNeedTheClassStyle)
{
    CStateWnd dbl;
    dbl.m_Name = "dbl";
    ASSERT_TRUE(dbl.Create(AfxRegisterWndClass(CS_DBLCLKS), "", WS_POPUP | WS_VISIBLE,
                           CRect(0, 0, 20, 20), nullptr, 0));
    CHeadless::DoubleClick(&m_Top, CPoint(1, 1));
    CHeadless::DoubleClick(&dbl, CPoint(2, 2));
    std::vector<std::string> expected = {"top:down 1,1", "top:up 1,1",   "top:down 1,1",
                                         "top:up 1,1",   "dbl:down 2,2", "dbl:up 2,2",
                                         "dbl:dbl 2,2",  "dbl:up 2,2"};
    EXPECT_EQ(g_Events, expected);
    dbl.DestroyWindow();
}
