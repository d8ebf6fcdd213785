#pragma once

#include <functional>
#include <memory>
#include <string_view>

#include "platform/foundation/loop/RunLoop.h"
#include "platform/linux/loop/GLibHandles.h"

namespace vellumix::linux_desktop {

/// A call from the bus that waits for its answer. Whoever goes without giving one leaves the caller to its
/// own deadline.
class BusCall {
public:
    BusCall(GDBusConnection* connection, GDBusMessage* message);

    /// A tuple, floating or not; null for a method that gives nothing.
    void reply(GVariant* values);
    /// The name is one of D-Bus or of an interface of ours, the message one sentence for a person.
    void refuse(const char* error, const char* message);

private:
    void send(GDBusMessage* answer);

    glib::Object<GDBusConnection> connection;
    glib::Object<GDBusMessage> message;
};

/// An object of this process on a bus, with one interface and its properties (D-Bus Specification 0.41).
///
/// Calls are answered on the main thread, when nothing of the person's own is due: one in a turn of the loop,
/// the callers one after another. They wait on the bus's own thread, so that none of them costs the loop
/// anything before its turn. A caller whose calls are too many or too large is refused with the error
/// LimitsExceeded, and nobody else is. What has another form than the interface says is refused by GIO.
class BusObject {
public:
    struct Handlers {
        /// May destroy the object.
        std::function<void(std::string_view method, GVariant* arguments, BusCall& call)> answer;
        /// The value of a property that the interface has, floating or not. May be empty without properties.
        std::function<GVariant*(std::string_view name)> property = {};
    };

    /// The connection must outlive this. The description is an introspection text with one interface.
    BusObject(RunLoop& runLoop, GDBusConnection* connection, const char* path, const char* description,
              Handlers handlers);
    /// Calls that wait get no answer.
    ~BusObject();
    BusObject(const BusObject&) = delete;
    BusObject& operator=(const BusObject&) = delete;

    /// False when the path was taken.
    bool isThere() const { return static_cast<bool>(registration); }

private:
    struct State;

    std::shared_ptr<State> state;
    glib::Registration registration;
    glib::MessageFilter filter;
};

}  // namespace vellumix::linux_desktop
