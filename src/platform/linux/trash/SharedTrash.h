#pragma once

#include <string>

#include "platform/desktop/Trash.h"
#include "platform/foundation/files/FileSystem.h"
#include "platform/linux/loop/UnawaitedWork.h"
#include "platform/linux/trash/TrashCans.h"
#include "platform/linux/trash/TreeCopy.h"

namespace vellumix::linux_desktop {

/// The trash that the programs of a desktop share (The FreeDesktop.org Trash specification 1.0).
///
/// What is offered is a copy in a folder of the program's own, never the trashed file: a program that moves
/// what it pastes, or writes to it, must find nothing of the trash there. A symbolic link would not do
/// either, as file managers copy the link.
class SharedTrash final : public Trash {
public:
    /// The run loop and the files must outlive this. Copies lie beside what `privateFolder` holds, which
    /// nobody but this process writes to: on the file system of the user's own trash, where a clone or a link
    /// costs nothing. Those that an ended process left there are removed, off the main thread.
    SharedTrash(RunLoop& runLoop, FileSystem& files, std::string privateFolder, TrashCans::Options options,
                TreeCopyLimits limits = {});
    ~SharedTrash() override;

    void isThere(const URL& file, std::function<void(bool)> answer) override;
    void holds(const URL& file, std::function<void(bool)> answer) override;
    void offer(const URL& file, std::function<void(std::optional<Offer>)> answer) override;
    void release() override;

private:
    /// Looks, and answers with what was seen; with `otherwise` where too much else is being looked at.
    template <class T>
    void look(std::function<T()> look, T otherwise, std::function<void(T)> answer);

    RunLoop& runLoop;
    FileSystem& files;
    const TrashCans cans;
    const TreeCopyLimits limits;
    /// Of this process, with a folder for each copy; made at the first.
    const std::string folder;
    int copies = 0;
    int released = 0;
    UnawaitedWork looking;
};

}  // namespace vellumix::linux_desktop
