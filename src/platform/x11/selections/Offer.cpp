#include "platform/x11/selections/Offer.h"

#include <algorithm>
#include <optional>
#include <string>

#include "platform/foundation/text/Unicode.h"
#include "platform/x11/server/PropertyValues.h"

namespace vellumix::x11 {

namespace {

using Representations = std::vector<Offer::Representation>;

/// Makes the bytes at the first question and keeps them: whoever asks a thousand times costs no more than one
/// who asks once.
std::function<SharedBytes()> madeOnce(std::function<SharedBytes()> make) {
    return [make = std::move(make), made = std::make_shared<std::optional<SharedBytes>>()] {
        if (!*made) *made = make();
        return **made;
    };
}

void appendFiles(const std::vector<URL>& files, bool isCut, const Atoms& atoms,
                 Representations& representations) {
    const auto list = [files](std::string_view first, std::string_view separator, std::string_view last) {
        std::string text(first);
        for (const auto& file : files) {
            if (&file != &files.front()) text += separator;
            text += file.absoluteString();
        }
        text += last;
        return SharedBytes::of(String(std::move(text)));
    };
    representations.push_back(
        {atoms.uriList, atoms.uriList, madeOnce([list] { return list("", "\r\n", "\r\n"); })});
    // File managers read the list by its lines: a line end behind the last would be one more, empty file.
    const auto copied = madeOnce([list, isCut] { return list(isCut ? "cut\n" : "copy\n", "\n", ""); });
    for (const auto target : {atoms.gnomeCopiedFiles, atoms.mateCopiedFiles}) {
        representations.push_back({target, target, copied});
    }
    representations.push_back({atoms.cutSelection, atoms.cutSelection,
                               [isCut] { return SharedBytes::of(String(isCut ? "1" : "0")); }});
}

void appendText(const std::function<String()>& text, const Atoms& atoms, Representations& representations) {
    const auto utf8 = madeOnce([text] { return SharedBytes::of(text()); });
    representations.push_back({atoms.utf8String, atoms.utf8String, utf8});
    representations.push_back({atoms.plainTextUTF8, atoms.plainTextUTF8, utf8});
    representations.push_back({atoms.plainText, atoms.plainText, utf8});
    // STRING can't say everything. A question mark is wrong in one place; UTF-8 under this name would be
    // wrong everywhere.
    representations.push_back({XCB_ATOM_STRING, XCB_ATOM_STRING,
                               madeOnce([text] { return SharedBytes::of(String(latin1Of(text()))); })});
    // The owner chooses the encoding of TEXT (ICCCM 2.0 section 2.6.2).
    representations.push_back({atoms.text, atoms.utf8String, utf8});
}

String pathsOf(const std::vector<URL>& files) {
    std::string paths;
    for (const auto& file : files) {
        if (!paths.empty()) paths += '\n';
        paths += file.path();
    }
    return String(repairedUTF8(paths));
}

xcb_atom_t atomNamed(const std::string& name, Connection& connection) {
    const auto reply = xcb::await<xcb_intern_atom_reply>(
        connection.xcb(),
        xcb_intern_atom(connection.xcb(), 0, static_cast<std::uint16_t>(name.size()), name.data()));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

}  // namespace

SharedBytes SharedBytes::of(const String& text) {
    auto owner = std::make_shared<const String>(text);
    const auto view = viewOf(owner->view());
    return {std::move(owner), view};
}

SharedBytes SharedBytes::of(const Data& data) {
    auto owner = std::make_shared<const Data>(data);
    const auto view = owner->view();
    return {std::move(owner), view};
}

Offer Offer::of(const Content& content, Connection& connection) {
    const auto& atoms = connection.atoms();
    Representations representations;
    if (!content.files.empty()) appendFiles(content.files, content.isCut, atoms, representations);
    if (content.image) {
        const auto type = atomNamed(content.imageType, connection);
        representations.push_back({type, type, [image = *content.image] { return SharedBytes::of(image); }});
    }
    if (content.text) {
        appendText([text = *content.text] { return text; }, atoms, representations);
    } else if (!content.files.empty()) {
        appendText([files = content.files] { return pathsOf(files); }, atoms, representations);
    }
    return Offer(std::move(representations));
}

void Offer::add(std::vector<Representation> further) {
    for (auto& one : further) {
        if (!find(one.target)) representations_.push_back(std::move(one));
    }
}

const Offer::Representation* Offer::find(xcb_atom_t target) const {
    const auto found = std::find_if(representations_.begin(), representations_.end(),
                                    [target](const Representation& one) { return one.target == target; });
    return found == representations_.end() ? nullptr : &*found;
}

}  // namespace vellumix::x11
