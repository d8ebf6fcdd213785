#include "platform/x11/selections/SelectionReader.h"

#include <algorithm>
#include <utility>

#include "platform/desktop/Pasteboard.h"

namespace vellumix::x11 {

namespace {

constexpr std::size_t hintBytes = 64;
/// A thousand targets; office programs announce some sixty.
constexpr std::size_t targetsBytes = 4096;

using Excess = Conversion::Excess;
using enum RefusalReason;

}  // namespace

SelectionReader::SelectionReader(Connection& connection, const TransferLimits& limits, std::string hostName,
                                 xcb_atom_t selection, xcb_timestamp_t time, Completion completion)
    : connection(connection),
      limits(limits),
      hostName(std::move(hostName)),
      selection(selection),
      time(time),
      completion(std::move(completion)) {
    setDeadline(limits.fetchSeconds);
    ask({connection.atoms().passwordManagerHint, hintBytes, limits.answerSeconds, Excess::drain},
        &SelectionReader::hintCame);
}

void SelectionReader::setDeadline(double seconds) {
    deadline = connection.runLoop().oneShotTimer(seconds, [this] { giveUp(noAnswer); });
}

void SelectionReader::ask(const Question& question, Step next) {
    windows.push_back(std::make_unique<Window>(connection));
    const Conversion::Request request{
        windows.back()->id(),   selection,       question.target, time, question.limit,
        question.answerSeconds, question.excess,
    };
    conversion = std::make_unique<Conversion>(
        connection, request, limits,
        [this, next](Ending ending, ConvertedValue value) { (this->*next)(ending, std::move(value)); });
}

void SelectionReader::hintCame(Ending ending, ConvertedValue value) {
    if (ending == Ending::late) return end({{}, noAnswer});
    const bool isRead = ending == Ending::value && value.format == 8;
    hint = isRead ? passwordHintOf(value.bytes) : PasswordHint::unreadable;
    if (hint == PasswordHint::secret && value.type == connection.atoms().passwordManagerHint) {
        return endMarked();
    }
    // Some programs answer every target with their text, which may happen to be this word: then the list of
    // targets decides. It is also why the hint may be of any size.
    ask({connection.atoms().targets, targetsBytes, limits.answerSeconds}, &SelectionReader::targetsCame);
}

void SelectionReader::targetsCame(Ending ending, ConvertedValue value) {
    switch (ending) {
        case Ending::late:
            return end({{}, noAnswer});
        case Ending::noMemory:
            return end({{}, RefusalReason::noMemory});
        case Ending::refused:
        case Ending::tooLarge:
        case Ending::value:
            break;
    }
    const auto& atoms = connection.atoms();
    const bool isList = value.format == 32 && (value.type == XCB_ATOM_ATOM || value.type == atoms.targets);
    if (ending == Ending::tooLarge && (isList || value.type == XCB_ATOM_NONE)) {
        // A marker may stand at its end.
        return end({{}, tooManyTargets});
    }
    if (isList) targets = atomsOf(value.bytes);
    // A hint that is there and can't be read is on the safe side of doubt.
    const bool isHint = isAnnounced(atoms.passwordManagerHint) || (!isList && hint == PasswordHint::secret);
    if (isHint && hint != PasswordHint::otherWord) return endMarked();
    content.ownerTypes = connection.names(targets);
    content.ownerTargets = targets;
    if (std::any_of(content.ownerTypes.begin(), content.ownerTypes.end(), isMarkerType)) {
        content.isMarked = true;
        return end({std::move(content), {}});
    }
    candidates = isList ? payloadCandidates(content.ownerTypes) : candidatesOfSilentOwner();
    askForPayload();
}

void SelectionReader::askForPayload() {
    if (nextCandidate == candidates.size()) {
        if (!askAgain()) giveUp(noReadableType);
        return;
    }
    const auto& candidate = candidates[nextCandidate];
    const bool isImage = candidate.form == PayloadForm::image;
    // It takes its time to be made, and waiting costs nothing: a newer copy ends the wait.
    if (isImage && !std::exchange(waitsForImage, true)) {
        setDeadline(limits.imageSeconds + limits.fetchSeconds);
    }
    ask({atomOf(candidate.target), limits.payloadBytes, isImage ? limits.imageSeconds : limits.answerSeconds},
        &SelectionReader::payloadCame);
}

bool SelectionReader::askAgain() {
    // A gvim on a busy machine refuses at first what it has just announced.
    if (!wasTextRefused || std::exchange(isSecondTry, true)) return false;
    nextCandidate = 0;
    while (!isText(candidates[nextCandidate].form)) ++nextCandidate;
    pause = connection.runLoop().oneShotTimer(limits.againSeconds, [this] { askForPayload(); });
    return true;
}

bool SelectionReader::isAnnounced(xcb_atom_t target) const {
    return std::find(targets.begin(), targets.end(), target) != targets.end();
}

xcb_atom_t SelectionReader::atomOf(std::string_view target) const {
    if (targets.empty())
        return target == "STRING" ? xcb_atom_t{XCB_ATOM_STRING} : connection.atoms().utf8String;
    const auto& names = content.ownerTypes;
    return targets[static_cast<std::size_t>(std::find(names.begin(), names.end(), target) - names.begin())];
}

void SelectionReader::payloadCame(Ending ending, ConvertedValue value) {
    const auto candidate = candidates[nextCandidate];
    switch (ending) {
        case Ending::late:
            return giveUp(noAnswer);
        case Ending::tooLarge:
            return giveUp(RefusalReason::tooLarge);
        case Ending::noMemory:
            return giveUp(RefusalReason::noMemory);
        case Ending::refused:
            wasTextRefused |= isText(candidate.form) && !targets.empty();
            break;
        case Ending::value:
            if (take(candidate.form, candidate.target, std::move(value))) return payloadTaken(candidate.form);
    }
    // Some programs announce targets that they refuse, or a list of addresses that holds no file.
    ++nextCandidate;
    askForPayload();
}

void SelectionReader::payloadTaken(PayloadForm form) {
    const auto cutSelection = connection.atoms().cutSelection;
    if (form == PayloadForm::uriList && isAnnounced(cutSelection)) {
        constexpr std::size_t flagBytes = 16;
        return ask({cutSelection, flagBytes, limits.answerSeconds}, &SelectionReader::cutSelectionCame);
    }
    if (isText(form) && askForPicture()) return;
    end({std::move(content), {}});
}

bool SelectionReader::askForPicture() {
    // The source of a drawing is text beside its picture, and the picture is what a person has copied.
    auto images = imageCandidates(content.ownerTypes);
    if (images.empty() || !isSVGDocument(content.text->view())) return false;
    source = std::exchange(content.text, std::nullopt);
    candidates = std::move(images);
    nextCandidate = 0;
    wasTextRefused = false;
    askForPayload();
    return true;
}

void SelectionReader::cutSelectionCame(Ending ending, ConvertedValue value) {
    content.isCut = ending == Ending::value && value.format == 8 && isCutSelection(value.bytes);
    end({std::move(content), {}});
}

bool SelectionReader::take(PayloadForm form, std::string_view target, ConvertedValue value) {
    if (value.format != 8) return false;
    switch (form) {
        case PayloadForm::uriList:
            content.files = filesOfURIList(value.bytes, hostName);
            break;
        case PayloadForm::copiedFiles: {
            auto copied = filesOfCopiedFiles(value.bytes, hostName);
            content.files = std::move(copied.files);
            content.isCut = copied.isCut;
            break;
        }
        case PayloadForm::image:
            if (value.bytes.empty()) break;
            content.image = Data(std::move(value.bytes));
            content.imageType = target;
            break;
        case PayloadForm::utf8Text:
        case PayloadForm::latin1Text:
            // The answer's type tells the encoding, whatever was asked for (ICCCM 2.0 section 2.6.2).
            if (value.type == connection.atoms().compoundText) break;
            content.text =
                String(value.type == XCB_ATOM_STRING ? textOfLatin1(value.bytes) : textOfUTF8(value.bytes));
            break;
    }
    return content.hasPayload();
}

void SelectionReader::giveUp(RefusalReason reason) {
    if (!source) return end({{}, reason});
    content.text = std::move(source);
    end({std::move(content), {}});
}

void SelectionReader::endMarked() {
    content = {};
    content.isMarked = true;
    content.ownerTypes.emplace_back(concealedMarkerType);
    end({std::move(content), {}});
}

void SelectionReader::end(Outcome outcome) {
    deadline.reset();
    pause.reset();
    conversion.reset();
    const auto completion = std::exchange(this->completion, nullptr);
    completion(std::move(outcome));
}

}  // namespace vellumix::x11
