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
    : _connection(connection),
      _limits(limits),
      _hostName(std::move(hostName)),
      _selection(selection),
      _time(time),
      _completion(std::move(completion)) {
    setDeadline(limits.fetchSeconds);
    ask({connection.atoms().passwordManagerHint, hintBytes, limits.answerSeconds, Excess::drain},
        &SelectionReader::hintCame);
}

void SelectionReader::setDeadline(double seconds) {
    _deadline = _connection.runLoop().oneShotTimer(seconds, [this] { giveUp(noAnswer); });
}

void SelectionReader::ask(const Question& question, Step next) {
    _windows.push_back(std::make_unique<Window>(_connection));
    const Conversion::Request request{
        _windows.back()->id(),  _selection,      question.target, _time, question.limit,
        question.answerSeconds, question.excess,
    };
    _conversion = std::make_unique<Conversion>(
        _connection, request, _limits,
        [this, next](Ending ending, ConvertedValue value) { (this->*next)(ending, std::move(value)); });
}

void SelectionReader::hintCame(Ending ending, ConvertedValue value) {
    if (ending == Ending::late) return end({{}, noAnswer});
    const bool isRead = ending == Ending::value && value.format == 8;
    _hint = isRead ? passwordHintOf(value.bytes) : PasswordHint::unreadable;
    if (_hint == PasswordHint::secret && value.type == _connection.atoms().passwordManagerHint) {
        return endMarked();
    }
    // Some programs answer every target with their text, which may happen to be this word: then the list of
    // targets decides. It is also why the hint may be of any size.
    ask({_connection.atoms().targets, targetsBytes, _limits.answerSeconds}, &SelectionReader::targetsCame);
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
    const auto& atoms = _connection.atoms();
    const bool isList = value.format == 32 && (value.type == XCB_ATOM_ATOM || value.type == atoms.targets);
    if (ending == Ending::tooLarge && (isList || value.type == XCB_ATOM_NONE)) {
        // A marker may stand at its end.
        return end({{}, tooManyTargets});
    }
    if (isList) _targets = atomsOf(value.bytes);
    // A hint that is there and can't be read is on the safe side of doubt.
    const bool isHint = isAnnounced(atoms.passwordManagerHint) || (!isList && _hint == PasswordHint::secret);
    if (isHint && _hint != PasswordHint::otherWord) return endMarked();
    _content.ownerTypes = _connection.names(_targets);
    _content.ownerTargets = _targets;
    if (std::any_of(_content.ownerTypes.begin(), _content.ownerTypes.end(), isMarkerType)) {
        _content.isMarked = true;
        return end({std::move(_content), {}});
    }
    _candidates = isList ? payloadCandidates(_content.ownerTypes) : candidatesOfSilentOwner();
    askForPayload();
}

void SelectionReader::askForPayload() {
    if (_nextCandidate == _candidates.size()) {
        if (!askAgain()) giveUp(noReadableType);
        return;
    }
    const auto& candidate = _candidates[_nextCandidate];
    const bool isImage = candidate.form == PayloadForm::image;
    // It takes its time to be made, and waiting costs nothing: a newer copy ends the wait.
    if (isImage && !std::exchange(_waitsForImage, true)) {
        setDeadline(_limits.imageSeconds + _limits.fetchSeconds);
    }
    ask({atomOf(candidate.target), _limits.payloadBytes,
         isImage ? _limits.imageSeconds : _limits.answerSeconds},
        &SelectionReader::payloadCame);
}

bool SelectionReader::askAgain() {
    // A gvim on a busy machine refuses at first what it has just announced.
    if (!_wasTextRefused || std::exchange(_isSecondTry, true)) return false;
    _nextCandidate = 0;
    while (!isText(_candidates[_nextCandidate].form)) ++_nextCandidate;
    _pause = _connection.runLoop().oneShotTimer(_limits.againSeconds, [this] { askForPayload(); });
    return true;
}

bool SelectionReader::isAnnounced(xcb_atom_t target) const {
    return std::find(_targets.begin(), _targets.end(), target) != _targets.end();
}

xcb_atom_t SelectionReader::atomOf(std::string_view target) const {
    if (_targets.empty())
        return target == "STRING" ? xcb_atom_t{XCB_ATOM_STRING} : _connection.atoms().utf8String;
    const auto& names = _content.ownerTypes;
    return _targets[static_cast<std::size_t>(std::find(names.begin(), names.end(), target) - names.begin())];
}

void SelectionReader::payloadCame(Ending ending, ConvertedValue value) {
    const auto candidate = _candidates[_nextCandidate];
    switch (ending) {
        case Ending::late:
            return giveUp(noAnswer);
        case Ending::tooLarge:
            return giveUp(RefusalReason::tooLarge);
        case Ending::noMemory:
            return giveUp(RefusalReason::noMemory);
        case Ending::refused:
            _wasTextRefused |= isText(candidate.form) && !_targets.empty();
            break;
        case Ending::value:
            if (take(candidate.form, candidate.target, std::move(value))) return payloadTaken(candidate.form);
    }
    // Some programs announce targets that they refuse, or a list of addresses that holds no file.
    ++_nextCandidate;
    askForPayload();
}

void SelectionReader::payloadTaken(PayloadForm form) {
    const auto cutSelection = _connection.atoms().cutSelection;
    if (form == PayloadForm::uriList && isAnnounced(cutSelection)) {
        constexpr std::size_t flagBytes = 16;
        return ask({cutSelection, flagBytes, _limits.answerSeconds}, &SelectionReader::cutSelectionCame);
    }
    if (isText(form) && askForPicture()) return;
    end({std::move(_content), {}});
}

bool SelectionReader::askForPicture() {
    // The source of a drawing is text beside its picture, and the picture is what a person has copied.
    auto images = imageCandidates(_content.ownerTypes);
    if (images.empty() || !isSVGDocument(_content.text->view())) return false;
    _source = std::exchange(_content.text, std::nullopt);
    _candidates = std::move(images);
    _nextCandidate = 0;
    _wasTextRefused = false;
    askForPayload();
    return true;
}

void SelectionReader::cutSelectionCame(Ending ending, ConvertedValue value) {
    _content.isCut = ending == Ending::value && value.format == 8 && isCutSelection(value.bytes);
    end({std::move(_content), {}});
}

bool SelectionReader::take(PayloadForm form, std::string_view target, ConvertedValue value) {
    if (value.format != 8) return false;
    switch (form) {
        case PayloadForm::uriList:
            _content.files = filesOfURIList(value.bytes, _hostName);
            break;
        case PayloadForm::copiedFiles: {
            auto copied = filesOfCopiedFiles(value.bytes, _hostName);
            _content.files = std::move(copied.files);
            _content.isCut = copied.isCut;
            break;
        }
        case PayloadForm::image:
            if (value.bytes.empty()) break;
            _content.image = Data(std::move(value.bytes));
            _content.imageType = target;
            break;
        case PayloadForm::utf8Text:
        case PayloadForm::latin1Text:
            // The answer's type tells the encoding, whatever was asked for (ICCCM 2.0 section 2.6.2).
            if (value.type == _connection.atoms().compoundText) break;
            _content.text =
                String(value.type == XCB_ATOM_STRING ? textOfLatin1(value.bytes) : textOfUTF8(value.bytes));
            break;
    }
    return _content.hasPayload();
}

void SelectionReader::giveUp(RefusalReason reason) {
    if (!_source) return end({{}, reason});
    _content.text = std::move(_source);
    end({std::move(_content), {}});
}

void SelectionReader::endMarked() {
    _content = {};
    _content.isMarked = true;
    _content.ownerTypes.emplace_back(concealedMarkerType);
    end({std::move(_content), {}});
}

void SelectionReader::end(Outcome outcome) {
    _deadline.reset();
    _pause.reset();
    _conversion.reset();
    const auto completion = std::exchange(_completion, nullptr);
    completion(std::move(outcome));
}

}  // namespace vellumix::x11
