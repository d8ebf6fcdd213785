#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/desktop/StatusItem.h"
#include "platform/linux/bus/BusObject.h"

namespace vellumix::linux_desktop {

/// A flat menu that another process draws: an object of the interface com.canonical.dbusmenu, version 3. Main
/// thread only.
class DBusMenu {
public:
    /// Answers on the connection, which must outlive this, at the object path.
    DBusMenu(RunLoop& runLoop, GDBusConnection* connection, const char* path);
    DBusMenu(const DBusMenu&) = delete;
    DBusMenu& operator=(const DBusMenu&) = delete;

    /// Puts other lines in the place of those that were there, and says so on the bus. A click on a line that
    /// is no longer there does nothing.
    void setEntries(std::vector<StatusMenuEntry> entries);

private:
    void answer(std::string_view method, GVariant* arguments, BusCall& call);
    void answerLayout(GVariant* arguments, BusCall& call);
    void answerGroup(GVariant* arguments, BusCall& call);
    void answerProperty(GVariant* arguments, BusCall& call);
    void answerEvent(GVariant* arguments, BusCall& call);
    void answerEventGroup(GVariant* arguments, BusCall& call);
    static GVariant* property(std::string_view name);

    bool isKnown(gint32 id) const;
    /// Nothing for the root and for lines that are not there.
    const StatusMenuEntry* entry(gint32 id) const;
    Work actionOf(gint32 id, std::string_view event) const;
    /// Floating; without names, all.
    GVariant* properties(gint32 id, const std::vector<std::string>& wanted) const;

    GDBusConnection* connection;
    const char* path;
    std::vector<StatusMenuEntry> entries;
    gint32 firstId = 1;
    guint32 revision = 1;
    BusObject object;
};

}  // namespace vellumix::linux_desktop
