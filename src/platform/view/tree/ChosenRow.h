#pragma once

namespace vellumix::view {

/// Whether a row of a list is the chosen one, for `View::environment` around the row: keys that go from the
/// list into its rows begin there.
struct ChosenRow {
    bool isChosen = false;
};

}  // namespace vellumix::view
