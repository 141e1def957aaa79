/* The main panel's layout in panel pixels (origin top left, y down): where every control, value
 * display, meter and hot spot sits, and which images and parameter each control uses. The panel
 * (editor/) lays itself out from this table and the artwork program draws the background's
 * cut-outs, scales and display boxes around the same rectangles, so the two cannot drift apart.
 * Rectangles are (left, top, right, bottom), right and bottom exclusive. Plain C, so that the
 * artwork program can include it. */
#ifndef DEESSER_PANEL_LAYOUT_H
#define DEESSER_PANEL_LAYOUT_H

typedef struct
{
    int l, t, r, b;
} PanelRect;

typedef struct
{
    int x, y;
} PanelPoint;

enum PanelKind
{
    PANEL_KNOB,
    PANEL_FADER,
    PANEL_SWITCH
};

/* What a control drives besides a parameter index (0..10). */
enum
{
    PANEL_DRIVES_LISTEN = -1,   /* the effect's listen flag */
    PANEL_DRIVES_COPY_MENU = -2 /* the program-copy menu */
};

typedef struct
{
    int id;            /* control id */
    int kind;          /* enum PanelKind */
    PanelRect rect;    /* the control */
    PanelRect display; /* its value display; all zero for switches */
    /* Images: switch, shown at value 0 / non-zero; fader, track / cap; knob, film strip / 0. */
    int image0, image1;
    int drives; /* parameter index, or PANEL_DRIVES_* */
} PanelControl;

enum
{
    PANEL_WIDTH = 460,
    PANEL_HEIGHT = 210,
    PANEL_CONTROL_COUNT = 13,
    PANEL_KNOB_FRAMES = 61
};

/* clang-format off */
/* In the order the panel makes them. No two rectangles of the table overlap (displays included),
 * so the order in which a press is tested against them never matters. */
static const PanelControl kPanelControls[PANEL_CONTROL_COUNT] = {
    {107, PANEL_SWITCH, { 23,   7,  52,  27}, {  0,   0,   0,   0}, 5003, 5002, 0 /* ON/OFF */},
    {131, PANEL_SWITCH, { 64,  10,  89,  27}, {  0,   0,   0,   0}, 5018, 5017, PANEL_DRIVES_COPY_MENU},
    {104, PANEL_FADER,  { 48,  45,  64, 178}, { 14, 186,  48, 200}, 5009, 5010, 2 /* Input */},
    {105, PANEL_FADER,  {403,  45, 419, 178}, {404, 186, 438, 200}, 5009, 5010, 1 /* Output */},
    {108, PANEL_KNOB,   { 99,  54, 133,  88}, { 92,  93, 140, 107}, 5001, 0,    7 /* LowFreq */},
    {109, PANEL_KNOB,   { 99, 139, 133, 173}, { 92, 178, 140, 192}, 5001, 0,    8 /* HiFreq */},
    {111, PANEL_SWITCH, {168,  68, 182,  80}, {  0,   0,   0,   0}, 5014, 5013, PANEL_DRIVES_LISTEN},
    {112, PANEL_SWITCH, {168,  85, 182,  97}, {  0,   0,   0,   0}, 5016, 5015, 9 /* SideChain */},
    {100, PANEL_KNOB,   {262,  66, 296, 100}, {255, 105, 303, 119}, 5001, 0,    3 /* Threshold */},
    {101, PANEL_KNOB,   {262, 141, 296, 175}, {255, 180, 303, 194}, 5001, 0,    5 /* AttackTime */},
    {106, PANEL_SWITCH, {305,  56, 319,  68}, {  0,   0,   0,   0}, 5005, 5004, 10 /* AutoThreshold */},
    {102, PANEL_KNOB,   {333,  66, 367, 100}, {326, 105, 374, 119}, 5001, 0,    6 /* ReleaseTime */},
    {103, PANEL_KNOB,   {333, 141, 367, 175}, {326, 180, 374, 194}, 5001, 0,    4 /* Ratio */},
};

static const PanelRect kPanelLampRect = {141, 10, 184, 26}; /* modified lamp, image 5020 */
static const PanelRect kPanelSaveRect = {195, 10, 238, 26}; /* save button face, image 5019 */
/* Level strips (image 5011): input left, input right, output left, output right. */
static const PanelPoint kPanelLevelMeters[4] = {{29, 45}, {38, 45}, {422, 45}, {431, 45}};
static const PanelPoint kPanelReductionMeter = {198, 55}; /* image 5012 */
static const PanelPoint kPanelCopyMenuAt = {89, 13};      /* where the copy menu hangs */
/* clang-format on */

#endif
