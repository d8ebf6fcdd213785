#pragma once

#include <optional>

#include "platform/foundation/loop/RunLoop.h"
#include "platform/view/values/Views.h"

namespace vellumix {

/// A short message that comes from above and goes by itself.
struct Toast {
    view::Binding<std::optional<String>> text;

    view::View body() const;
};

/// Shows messages in a toast. Copies share the toast. Main thread.
class ToastPresenter {
public:
    explicit ToastPresenter(view::Binding<std::optional<String>> toast) : toast(std::move(toast)) {}

    /// Shows the text of a key in place of any other. Whatever is shown `seconds` later goes, even if it is
    /// another message by then.
    void show(const char* key, double seconds) const;
    /// What shows that message on a later turn of the loop: what is told of an action that is under way comes
    /// after what the action says of itself.
    Action presenting(const char* key, double seconds) const {
        return [presenter = *this, key, seconds] {
            onMain([presenter, key, seconds] { presenter.show(key, seconds); });
        };
    }

private:
    view::Binding<std::optional<String>> toast;
};

}  // namespace vellumix
