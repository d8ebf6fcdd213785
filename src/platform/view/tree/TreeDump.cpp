#include "platform/view/tree/TreeDump.h"

#include <array>
#include <cstdio>

namespace vellumix::view {

namespace {

std::string number(double value) {
    std::array<char, 64> buffer{};
    std::snprintf(buffer.data(), buffer.size(), "%.2f", value);
    std::string text(buffer.data());
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') text.pop_back();
    return text == "-0" ? "0" : text;
}

std::string box(const Rect& rect) {
    return number(rect.minX()) + "," + number(rect.minY()) + " " + number(rect.size.width) + "x" +
           number(rect.size.height);
}

void write(const Node& node, int depth, std::string& into) {
    if (!node.element || node.isOutOfSight) return;
    into.append(static_cast<std::size_t>(depth) * 2, ' ').append(node.element->name());
    if (!node.id.empty()) into.append("#").append(node.id);
    into.append(" ").append(box(node.drawn)).append("\n");
    for (const auto& child : node.children) write(*child, depth + 1, into);
}

void write(const SemanticNode& node, int depth, std::string& into) {
    into.append(static_cast<std::size_t>(depth) * 2, ' ').append(nameOf(node.role));
    const auto quoted = [&](const char* before, const String& text) {
        if (!text.empty()) into.append(before).append("\"").append(text.view()).append("\"");
    };
    quoted(" ", node.label);
    quoted(" value ", node.value);
    quoted(" help ", node.help);
    const auto& state = node.state;
    if (state.isSelected) into.append(" selected");
    if (state.isChecked) into.append(" checked");
    if (state.isExpanded) into.append(" expanded");
    if (state.isDisabled) into.append(" disabled");
    if (state.isFocused) into.append(" focused");
    into.append("\n");
    for (const auto& child : node.children) write(child, depth + 1, into);
}

}  // namespace

std::string layoutText(const Node& root) {
    std::string text;
    write(root, 0, text);
    return text;
}

std::string semanticsText(const SemanticNode& root) {
    std::string text;
    write(root, 0, text);
    return text;
}

}  // namespace vellumix::view
