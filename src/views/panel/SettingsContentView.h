#pragma once

#include "platform/view/values/View.h"

namespace vellumix {

/// The settings page: the theme and the language.
struct SettingsContentView {
    view::View body() const;
};

}  // namespace vellumix
