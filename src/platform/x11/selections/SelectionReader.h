#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/desktop/RefusalReason.h"
#include "platform/x11/selections/Content.h"
#include "platform/x11/selections/Conversion.h"
#include "platform/x11/selections/PayloadChoice.h"
#include "platform/x11/server/PropertyValues.h"
#include "platform/x11/server/Window.h"

namespace vellumix::x11 {

/// Reads what another program has put on a selection: its hint, then its targets, then exactly one payload.
///
/// Content marked as secret, transient or generated gives a marked content whose payload was never asked for.
/// Destroying the reader calls it off; its windows go with it, so that whatever a late owner still sends hits
/// nothing. A reader that has read its content is best kept until the next one starts: owners commonly touch
/// the requestor's window once more after the last byte, and some end on the error.
class SelectionReader {
public:
    struct Outcome {
        std::optional<Content> content;
        /// Why there is no content, where there is none.
        RefusalReason reason = RefusalReason::noReadableType;
    };
    using Completion = std::function<void(Outcome)>;

    /// `time` is that at which the owner took the selection. `hostName` is this machine's. The completion is
    /// called once, from the loop, as the last thing that the reader does: it may destroy the reader.
    SelectionReader(Connection& connection, const TransferLimits& limits, std::string hostName,
                    xcb_atom_t selection, xcb_timestamp_t time, Completion completion);
    SelectionReader(const SelectionReader&) = delete;
    SelectionReader& operator=(const SelectionReader&) = delete;

private:
    using Ending = Conversion::Ending;
    using Step = void (SelectionReader::*)(Ending, ConvertedValue);

    struct Question {
        xcb_atom_t target;
        std::size_t limit;
        double answerSeconds;
        Conversion::Excess excess = Conversion::Excess::abandon;
    };
    void ask(const Question& question, Step next);
    void setDeadline(double seconds);
    void hintCame(Ending ending, ConvertedValue value);
    void targetsCame(Ending ending, ConvertedValue value);
    void payloadCame(Ending ending, ConvertedValue value);
    void cutSelectionCame(Ending ending, ConvertedValue value);
    void askForPayload();
    bool askAgain();
    bool askForPicture();
    bool isAnnounced(xcb_atom_t target) const;
    void payloadTaken(PayloadForm form);
    xcb_atom_t atomOf(std::string_view target) const;
    bool take(PayloadForm form, std::string_view target, ConvertedValue value);
    /// Ends without content, or with the source of a drawing.
    void giveUp(RefusalReason reason);
    void endMarked();
    void end(Outcome outcome);

    Connection& connection;
    const TransferLimits limits;
    const std::string hostName;
    const xcb_atom_t selection;
    const xcb_timestamp_t time;
    Completion completion;
    Content content;
    /// What the hint says when it is one: some programs answer every target with their text.
    PasswordHint hint = PasswordHint::otherWord;
    std::vector<xcb_atom_t> targets;
    std::vector<PayloadCandidate> candidates;
    std::size_t nextCandidate = 0;
    /// Announced text was refused.
    bool wasTextRefused = false;
    bool isSecondTry = false;
    /// The source of a drawing, for the case that its picture can't be had.
    std::optional<String> source;
    /// The deadline has been set anew for an image.
    bool waitsForImage = false;
    std::vector<std::unique_ptr<Window>> windows;
    std::unique_ptr<Conversion> conversion;
    std::unique_ptr<NSTimer> deadline;
    std::unique_ptr<NSTimer> pause;
};

}  // namespace vellumix::x11
