// Basic types, message numbers and flag values of the window toolkit, in the
// spelling of the classic desktop message-map framework the editor is written
// against. No platform header is included here.
#pragma once

#include <cstddef>
#include <cstdint>

#include "CPoint.h"
#include "CRect.h"
#include "CSize.h"
#include "CString.h"
#include "KeyState.h"

// clang-format off
typedef int            BOOL;
typedef unsigned int   UINT;
typedef uint32_t       DWORD;
typedef uint16_t       WORD;
typedef uint8_t        BYTE;
typedef int16_t        SHORT;
typedef uintptr_t      WPARAM;
typedef intptr_t       LPARAM;
typedef intptr_t       LRESULT;
typedef uintptr_t      UINT_PTR;
typedef intptr_t       INT_PTR;
typedef uint32_t       COLORREF;   // 0x00BBGGRR
typedef const char*    LPCTSTR;
typedef char*          LPTSTR;
typedef RECT*          LPRECT;
typedef const RECT*    LPCRECT;
typedef CPoint*        LPPOINT;
typedef int*           LPINT;
typedef void*          HGDIOBJ;
typedef void*          HINSTANCE;
typedef void*          HICON;
typedef void*          HCURSOR;
typedef void*          HMENU;
typedef void*          HDC;
typedef struct HBRUSH__* HBRUSH;
struct AFX_WND;                    // toolkit-internal window record
typedef AFX_WND*       HWND;
struct _cairo_surface;             // a cairo image surface holds every bitmap
typedef _cairo_surface* HBITMAP;

#ifndef TRUE
#define TRUE  1
#define FALSE 0
#endif

#define LOWORD(l)          ((WORD)(((uintptr_t)(l)) & 0xffff))
#define HIWORD(l)          ((WORD)((((uintptr_t)(l)) >> 16) & 0xffff))
#define MAKEWPARAM(lo, hi) ((WPARAM)(((DWORD)(WORD)(lo)) | (((DWORD)(WORD)(hi)) << 16)))
#define MAKELPARAM(lo, hi) ((LPARAM)(((DWORD)(WORD)(lo)) | (((DWORD)(WORD)(hi)) << 16)))
#define GET_X_LPARAM(lp)   ((int)(SHORT)LOWORD(lp))
#define GET_Y_LPARAM(lp)   ((int)(SHORT)HIWORD(lp))
#define RGB(r, g, b)       ((COLORREF)(((BYTE)(r)) | (((DWORD)(BYTE)(g)) << 8) | (((DWORD)(BYTE)(b)) << 16)))
#define GetRValue(c)       ((BYTE)((c) & 0xff))
#define GetGValue(c)       ((BYTE)(((c) >> 8) & 0xff))
#define GetBValue(c)       ((BYTE)(((c) >> 16) & 0xff))
#define MAKEINTRESOURCE(i) ((LPCTSTR)(uintptr_t)(WORD)(i))

// Window messages.
#define WM_CREATE          0x0001
#define WM_DESTROY         0x0002
#define WM_MOVE            0x0003
#define WM_SIZE            0x0005
#define WM_SETFOCUS        0x0007
#define WM_KILLFOCUS       0x0008
#define WM_ENABLE          0x000A
#define WM_SETTEXT         0x000C
#define WM_PAINT           0x000F
#define WM_CLOSE           0x0010
#define WM_ERASEBKGND      0x0014
#define WM_SHOWWINDOW      0x0018
#define WM_KEYDOWN         0x0100
#define WM_KEYUP           0x0101
#define WM_CHAR            0x0102
#define WM_COMMAND         0x0111
#define WM_TIMER           0x0113
#define WM_VSCROLL         0x0115
#define WM_MOUSEMOVE       0x0200
#define WM_LBUTTONDOWN     0x0201
#define WM_LBUTTONUP       0x0202
#define WM_LBUTTONDBLCLK   0x0203
#define WM_RBUTTONDOWN     0x0204
#define WM_RBUTTONUP       0x0205
#define WM_MOUSEWHEEL      0x020A
#define WM_USER            0x0400

// Mouse message key flags (wParam).
#define MK_LBUTTON         0x0001
#define MK_RBUTTON         0x0002
#define MK_SHIFT           0x0004
#define MK_CONTROL         0x0008

// Key codes of WM_KEYDOWN. Return and Escape carry the codes the editor was
// written for (36, 53); the arrows use 37-40.
#define VK_BACK            8
#define VK_TAB             9
#define VK_SHIFT           16
#define VK_CONTROL         17
#define VK_COMMAND         18
#define VK_OPTION          19
#define VK_RETURN_KEY      36
#define VK_LEFT            37
#define VK_UP              38
#define VK_RIGHT           39
#define VK_DOWN            40
#define VK_ESCAPE_KEY      53
#define VK_DELETE_KEY      117
#define VK_HOME_KEY        115
#define VK_END_KEY         119

// Window styles.
#define WS_OVERLAPPED      0x00000000L
#define WS_POPUP           0x80000000L
#define WS_CHILD           0x40000000L
#define WS_VISIBLE         0x10000000L
#define WS_DISABLED        0x08000000L
#define WS_CLIPSIBLINGS    0x04000000L
#define WS_CLIPCHILDREN    0x02000000L
#define WS_BORDER          0x00800000L
#define WS_CAPTION         0x00C00000L
#define WS_TABSTOP         0x00010000L
#define ES_LEFT            0x0000L
#define ES_CENTER          0x0001L
#define ES_RIGHT           0x0002L
#define ES_AUTOHSCROLL     0x0080L
#define CBS_DROPDOWNLIST   0x0003L
#define BS_PUSHBUTTON      0x0000L
#define BS_DEFPUSHBUTTON   0x0001L
#define SS_LEFT            0x0000L
#define UDS_WRAP           0x0001
#define UDS_SETBUDDYINT    0x0002
#define UDS_ALIGNRIGHT     0x0004
#define UDS_ARROWKEYS      0x0020
#define UDS_NOTHOUSANDS    0x0080

// Class styles.
#define CS_VREDRAW         0x0001
#define CS_HREDRAW         0x0002
#define CS_DBLCLKS         0x0008

// ShowWindow / SetWindowPos.
#define SW_HIDE            0
#define SW_SHOWNORMAL      1
#define SW_SHOWNA          8
#define SW_SHOW            5
#define SWP_NOSIZE         0x0001
#define SWP_NOMOVE         0x0002
#define SWP_NOZORDER       0x0004
#define SWP_NOREDRAW       0x0008
#define SWP_NOACTIVATE     0x0010
#define SWP_SHOWWINDOW     0x0040
#define SWP_HIDEWINDOW     0x0080
#define SIZE_RESTORED      0

// Notification codes carried in HIWORD(wParam) of WM_COMMAND.
#define BN_CLICKED         0
#define CBN_SELCHANGE      1
#define EN_CHANGE          0x0300
#define EN_SETFOCUS        0x0100
#define EN_KILLFOCUS       0x0200

// Dialog results and message-box types.
#define IDOK               1
#define IDCANCEL           2
#define IDYES              6
#define IDNO               7
#define MB_OK              0x00000000L
#define MB_OKCANCEL        0x00000001L
#define MB_YESNO           0x00000004L
#define MB_ICONSTOP        0x00000010L
#define MB_ICONEXCLAMATION 0x00000030L
#define MB_ICONINFORMATION 0x00000040L
#define CB_ERR             (-1)

// Menus.
#define MF_STRING          0x00000000L
#define MF_GRAYED          0x00000001L
#define MF_DISABLED        0x00000002L
#define MF_ENABLED         0x00000000L
#define MF_UNCHECKED       0x00000000L
#define MF_CHECKED         0x00000008L
#define MF_BYCOMMAND       0x00000000L
#define MF_BYPOSITION      0x00000400L
#define MF_SEPARATOR       0x00000800L
#define TPM_LEFTALIGN      0x0000L
#define TPM_LEFTBUTTON     0x0000L
#define TPM_RIGHTBUTTON    0x0002L
#define TPM_RETURNCMD      0x0100L

// Drawing.
#define SRCCOPY            0x00CC0020
#define SRCAND             0x008800C6
#define SRCINVERT          0x00660046
#define TRANSPARENT        1
#define OPAQUE             2
#define ETO_OPAQUE         0x0002
#define ETO_CLIPPED        0x0004
#define WHITE_BRUSH        0
#define LTGRAY_BRUSH       1
#define GRAY_BRUSH         2
#define DKGRAY_BRUSH       3
#define BLACK_BRUSH        4
#define NULL_BRUSH         5

// System metrics (fixed pixel values, see GetSystemMetrics).
#define SM_CXVSCROLL       2
#define SM_CYHSCROLL       3
#define SM_CXEDGE          45
#define SM_CYEDGE          46

#define IDC_ARROW          MAKEINTRESOURCE(32512)
#define IDC_IBEAM          MAKEINTRESOURCE(32513)
// clang-format on

struct CREATESTRUCT
{
    void* lpCreateParams = nullptr;
    HWND hwndParent = nullptr;
    UINT id = 0;
    int cy = 0;
    int cx = 0;
    int y = 0;
    int x = 0;
    DWORD style = 0;
    LPCTSTR lpszName = nullptr;
    LPCTSTR lpszClass = nullptr;
};
typedef CREATESTRUCT* LPCREATESTRUCT;

class CWnd;
typedef void (*TIMERPROC)(HWND, UINT, UINT_PTR, DWORD);

// Fixed pixel values: edge 2, scroll-bar thickness 15; 0 for anything else.
int GetSystemMetrics(int index);

// Stock brushes for AfxRegisterWndClass; null for an unknown index.
HGDIOBJ GetStockObject(int index);

// Cursor handles are accepted and kept; the panel always shows the arrow.
HCURSOR LoadCursor(HINSTANCE instance, LPCTSTR name);
