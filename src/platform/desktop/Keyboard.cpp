#include "platform/desktop/Keyboard.h"

#include <linux/input-event-codes.h>

#include <algorithm>
#include <iterator>

namespace vellumix {

namespace {

struct VirtualKey {
    std::uint32_t code;
    unsigned position;
};

constexpr VirtualKey virtualKeys[] = {
    {0, KEY_A},           {1, KEY_S},          {2, KEY_D},          {3, KEY_F},          {4, KEY_H},
    {5, KEY_G},           {6, KEY_Z},          {7, KEY_X},          {8, KEY_C},          {9, KEY_V},
    {10, KEY_102ND},      {11, KEY_B},         {12, KEY_Q},         {13, KEY_W},         {14, KEY_E},
    {15, KEY_R},          {16, KEY_Y},         {17, KEY_T},         {18, KEY_1},         {19, KEY_2},
    {20, KEY_3},          {21, KEY_4},         {22, KEY_6},         {23, KEY_5},         {24, KEY_EQUAL},
    {25, KEY_9},          {26, KEY_7},         {27, KEY_MINUS},     {28, KEY_8},         {29, KEY_0},
    {30, KEY_RIGHTBRACE}, {31, KEY_O},         {32, KEY_U},         {33, KEY_LEFTBRACE}, {34, KEY_I},
    {35, KEY_P},          {36, KEY_ENTER},     {37, KEY_L},         {38, KEY_J},         {39, KEY_APOSTROPHE},
    {40, KEY_K},          {41, KEY_SEMICOLON}, {42, KEY_BACKSLASH}, {43, KEY_COMMA},     {44, KEY_SLASH},
    {45, KEY_N},          {46, KEY_M},         {47, KEY_DOT},       {48, KEY_TAB},       {49, KEY_SPACE},
    {50, KEY_GRAVE},      {51, KEY_BACKSPACE}, {53, KEY_ESC},       {64, KEY_F17},       {65, KEY_KPDOT},
    {67, KEY_KPASTERISK}, {69, KEY_KPPLUS},    {71, KEY_NUMLOCK},   {75, KEY_KPSLASH},   {76, KEY_KPENTER},
    {78, KEY_KPMINUS},    {79, KEY_F18},       {80, KEY_F19},       {81, KEY_KPEQUAL},   {82, KEY_KP0},
    {83, KEY_KP1},        {84, KEY_KP2},       {85, KEY_KP3},       {86, KEY_KP4},       {87, KEY_KP5},
    {88, KEY_KP6},        {89, KEY_KP7},       {90, KEY_F20},       {91, KEY_KP8},       {92, KEY_KP9},
    {96, KEY_F5},         {97, KEY_F6},        {98, KEY_F7},        {99, KEY_F3},        {100, KEY_F8},
    {101, KEY_F9},        {103, KEY_F11},      {105, KEY_F13},      {106, KEY_F16},      {107, KEY_F14},
    {109, KEY_F10},       {111, KEY_F12},      {113, KEY_F15},      {114, KEY_INSERT},   {115, KEY_HOME},
    {116, KEY_PAGEUP},    {117, KEY_DELETE},   {118, KEY_F4},       {119, KEY_END},      {120, KEY_F2},
    {121, KEY_PAGEDOWN},  {122, KEY_F1},       {123, KEY_LEFT},     {124, KEY_RIGHT},    {125, KEY_DOWN},
    {126, KEY_UP},
};

}  // namespace

std::optional<unsigned> positionOfVirtualKey(std::uint32_t keyCode) {
    const auto* const found = std::ranges::find(virtualKeys, keyCode, &VirtualKey::code);
    return found == std::end(virtualKeys) ? std::nullopt : std::optional(found->position);
}

}  // namespace vellumix
