// Message maps: a static table of entries per class, searched in order from
// the most derived class to its bases; the first matching entry is called.
// Each entry carries a small typed thunk, so handlers keep their own
// signatures and no member-pointer casts are needed.
#pragma once

#include "AfxDefs.h"

class CCmdTarget;

// Handler signatures, recorded in each entry (the thunk does the unpacking).
enum AfxSig
{
    AfxSig_end = 0,
    AfxSig_is,   // int (LPCREATESTRUCT)
    AfxSig_vv,   // void ()
    AfxSig_vwii, // void (UINT, int, int)
    AfxSig_vwp,  // void (UINT, CPoint)
    AfxSig_vw,   // void (UINT_PTR) / void (UINT)
    AfxSig_vwww, // void (UINT, UINT, UINT)
    AfxSig_vW,   // void (CWnd*)
    AfxSig_lwl,  // LRESULT (WPARAM, LPARAM)
    AfxSig_bv,   // BOOL ()
};

typedef LRESULT (*AFX_MSGTHUNK)(CCmdTarget* target, WPARAM wParam, LPARAM lParam);

struct AFX_MSGMAP_ENTRY
{
    UINT nMessage; // window message
    UINT nCode;    // notification code (WM_COMMAND) or 0
    UINT nID;      // first control or command id (WM_COMMAND) or 0
    UINT nLastID;  // last id of a range
    UINT nSig;     // AfxSig
    AFX_MSGTHUNK pfn;
};

struct AFX_MSGMAP
{
    const AFX_MSGMAP* (*pfnGetBaseMap)();
    const AFX_MSGMAP_ENTRY* lpEntries;
};

class CCmdTarget
{
public:
    CCmdTarget() = default;
    virtual ~CCmdTarget() = default;
    CCmdTarget(const CCmdTarget&) = delete;
    CCmdTarget& operator=(const CCmdTarget&) = delete;

    // Finds the first entry matching the message (for WM_COMMAND: the
    // notification code in HIWORD(wParam) and an id range holding
    // LOWORD(wParam)) and calls it. Returns true when one was found.
    bool OnWndMsg(UINT message, WPARAM wParam, LPARAM lParam, LRESULT* result);

    // Looks up the entry OnWndMsg would call; null if none (for tests).
    const AFX_MSGMAP_ENTRY* FindMessageEntry(UINT message, WPARAM wParam) const;

    static const AFX_MSGMAP* GetThisMessageMap();
    virtual const AFX_MSGMAP* GetMessageMap() const;
};

#define DECLARE_MESSAGE_MAP()                                                                      \
protected:                                                                                         \
    static const AFX_MSGMAP* GetThisMessageMap();                                                  \
    const AFX_MSGMAP* GetMessageMap() const override;                                              \
                                                                                                   \
private:

#define BEGIN_MESSAGE_MAP(theClass, baseClass)                                                     \
    const AFX_MSGMAP* theClass::GetMessageMap() const                                              \
    {                                                                                              \
        return GetThisMessageMap();                                                                \
    }                                                                                              \
    const AFX_MSGMAP* theClass::GetThisMessageMap()                                                \
    {                                                                                              \
        using ThisClass [[maybe_unused]] = theClass;                                               \
        typedef baseClass TheBaseClass;                                                            \
        static const AFX_MSGMAP_ENTRY _messageEntries[] = {

#define END_MESSAGE_MAP()                                                                          \
    {                                                                                              \
        0, 0, 0, 0, AfxSig_end, nullptr                                                            \
    }                                                                                              \
    }                                                                                              \
    ;                                                                                              \
    static const AFX_MSGMAP messageMap = {&TheBaseClass::GetThisMessageMap, &_messageEntries[0]};  \
    return &messageMap;                                                                            \
    }

// clang-format off
#define AFX_THUNK(body) [](CCmdTarget* t, WPARAM w, LPARAM l) -> LRESULT { (void)t; (void)w; (void)l; body }
#define AFX_THIS static_cast<ThisClass*>(t)
#define AFX_LPPOINT CPoint(GET_X_LPARAM(l), GET_Y_LPARAM(l))

#define ON_WM_CREATE()        {WM_CREATE, 0, 0, 0, AfxSig_is, AFX_THUNK(return (LRESULT)AFX_THIS->OnCreate((LPCREATESTRUCT)l);)},
#define ON_WM_DESTROY()       {WM_DESTROY, 0, 0, 0, AfxSig_vv, AFX_THUNK(AFX_THIS->OnDestroy(); return 0;)},
#define ON_WM_PAINT()         {WM_PAINT, 0, 0, 0, AfxSig_vv, AFX_THUNK(AFX_THIS->OnPaint(); return 0;)},
#define ON_WM_CLOSE()         {WM_CLOSE, 0, 0, 0, AfxSig_vv, AFX_THUNK(AFX_THIS->OnClose(); return 0;)},
#define ON_WM_SIZE()          {WM_SIZE, 0, 0, 0, AfxSig_vwii, AFX_THUNK(AFX_THIS->OnSize((UINT)w, GET_X_LPARAM(l), GET_Y_LPARAM(l)); return 0;)},
#define ON_WM_TIMER()         {WM_TIMER, 0, 0, 0, AfxSig_vw, AFX_THUNK(AFX_THIS->OnTimer((UINT_PTR)w); return 0;)},
#define ON_WM_KEYDOWN()       {WM_KEYDOWN, 0, 0, 0, AfxSig_vwww, AFX_THUNK(AFX_THIS->OnKeyDown((UINT)w, (UINT)(l & 0xffff), (UINT)((l >> 16) & 0xffff)); return 0;)},
#define ON_WM_KEYUP()         {WM_KEYUP, 0, 0, 0, AfxSig_vwww, AFX_THUNK(AFX_THIS->OnKeyUp((UINT)w, (UINT)(l & 0xffff), (UINT)((l >> 16) & 0xffff)); return 0;)},
#define ON_WM_CHAR()          {WM_CHAR, 0, 0, 0, AfxSig_vwww, AFX_THUNK(AFX_THIS->OnChar((UINT)w, (UINT)(l & 0xffff), (UINT)((l >> 16) & 0xffff)); return 0;)},
#define ON_WM_MOUSEMOVE()     {WM_MOUSEMOVE, 0, 0, 0, AfxSig_vwp, AFX_THUNK(AFX_THIS->OnMouseMove((UINT)w, AFX_LPPOINT); return 0;)},
#define ON_WM_LBUTTONDOWN()   {WM_LBUTTONDOWN, 0, 0, 0, AfxSig_vwp, AFX_THUNK(AFX_THIS->OnLButtonDown((UINT)w, AFX_LPPOINT); return 0;)},
#define ON_WM_LBUTTONUP()     {WM_LBUTTONUP, 0, 0, 0, AfxSig_vwp, AFX_THUNK(AFX_THIS->OnLButtonUp((UINT)w, AFX_LPPOINT); return 0;)},
#define ON_WM_LBUTTONDBLCLK() {WM_LBUTTONDBLCLK, 0, 0, 0, AfxSig_vwp, AFX_THUNK(AFX_THIS->OnLButtonDblClk((UINT)w, AFX_LPPOINT); return 0;)},
#define ON_WM_SETFOCUS()      {WM_SETFOCUS, 0, 0, 0, AfxSig_vW, AFX_THUNK(AFX_THIS->OnSetFocus((CWnd*)w); return 0;)},
#define ON_WM_KILLFOCUS()     {WM_KILLFOCUS, 0, 0, 0, AfxSig_vW, AFX_THUNK(AFX_THIS->OnKillFocus((CWnd*)w); return 0;)},

// LRESULT fn(WPARAM, LPARAM) for any message number (user messages).
#define ON_MESSAGE(msg, fn)   {(UINT)(msg), 0, 0, 0, AfxSig_lwl, AFX_THUNK(return AFX_THIS->fn(w, l);)},
// void fn() for a menu or button command id.
#define ON_COMMAND(id, fn)    {WM_COMMAND, 0, (UINT)(id), (UINT)(id), AfxSig_vv, AFX_THUNK(AFX_THIS->fn(); return 0;)},
// void fn(UINT id) for a range of command ids.
#define ON_COMMAND_RANGE(first, last, fn) {WM_COMMAND, 0, (UINT)(first), (UINT)(last), AfxSig_vw, AFX_THUNK(AFX_THIS->fn((UINT)LOWORD(w)); return 0;)},
// void fn() for a control notification.
#define ON_CONTROL(code, id, fn) {WM_COMMAND, (UINT)(code), (UINT)(id), (UINT)(id), AfxSig_vv, AFX_THUNK(AFX_THIS->fn(); return 0;)},
#define ON_BN_CLICKED(id, fn)    ON_CONTROL(BN_CLICKED, id, fn)
#define ON_CBN_SELCHANGE(id, fn) ON_CONTROL(CBN_SELCHANGE, id, fn)
#define ON_EN_CHANGE(id, fn)     ON_CONTROL(EN_CHANGE, id, fn)
// clang-format on
