#include "tools/symbols/SymbolDrawing.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <numbers>

#include "platform/desktop/Geometry.h"

namespace vellumix::tools {

namespace {

using Step = view::SymbolStep;
using Outline = SymbolDrawing::Outline;

/// Appends what the `d` attribute of a path says (SVG 2 section 9.3) to an outline.
class PathReader {
public:
    PathReader(Outline& outline, std::string_view text) : outline(outline), rest(text) {}

    bool read() {
        char command = 0;
        while (skipSeparators(), !rest.empty()) {
            const bool isLetter = std::isalpha(static_cast<unsigned char>(rest.front())) != 0;
            if (isLetter) {
                command = rest.front();
                rest.remove_prefix(1);
            }
            if (!run(command) || !isSound) return false;
            // Further pairs behind a move are lines.
            if (command == 'M') command = 'L';
            if (command == 'm') command = 'l';
        }
        return true;
    }

private:
    bool run(char command) {
        const bool isRelative = std::islower(static_cast<unsigned char>(command)) != 0;
        const Point base = isRelative ? current : Point();
        const auto point = [&] {
            const double x = number();
            return Point{base.x + x, base.y + number()};
        };
        switch (std::toupper(static_cast<unsigned char>(command))) {
            case 'M': {
                const auto to = point();
                outline.add(Step::move, {to.x, to.y});
                begin = current = to;
                return true;
            }
            case 'L':
                lineTo(point());
                return true;
            case 'H':
                lineTo({base.x + number(), current.y});
                return true;
            case 'V':
                lineTo({current.x, base.y + number()});
                return true;
            case 'C': {
                const auto first = point();
                const auto second = point();
                const auto to = point();
                outline.add(Step::curve, {first.x, first.y, second.x, second.y, to.x, to.y});
                current = to;
                return true;
            }
            case 'A': {
                const double radius = number();
                if (number() != radius || number() != 0) return false;
                const bool isLarge = flag();
                const bool isClockwise = flag();
                arcTo(point(), radius, isLarge, isClockwise);
                return true;
            }
            case 'Z':
                outline.add(Step::close, {});
                current = begin;
                return true;
            default:
                return false;
        }
    }

    void lineTo(Point to) {
        outline.add(Step::line, {to.x, to.y});
        current = to;
    }

    /// SVG 2, appendix B.2.4, for circles.
    void arcTo(Point to, double radius, bool isLarge, bool isClockwise) {
        const auto from = current;
        const double distance = std::hypot(from.x - to.x, from.y - to.y);
        if (distance == 0) return;
        // An arc that can't reach is made larger.
        const double reaching = std::max(radius, distance / 2);
        const double height = std::sqrt(reaching * reaching - distance * distance / 4);
        const double side = (isLarge == isClockwise ? -height : height) / distance;
        const Point centre{(from.x + to.x) / 2 + side * (from.y - to.y),
                           (from.y + to.y) / 2 - side * (from.x - to.x)};
        const double begin = std::atan2(from.y - centre.y, from.x - centre.x);
        const double end = std::atan2(to.y - centre.y, to.x - centre.x);
        outline.add(isClockwise ? Step::arc : Step::arcBack, {centre.x, centre.y, reaching, begin, end});
        current = to;
    }

    void skipSeparators() { rest.remove_prefix(std::min(rest.size(), rest.find_first_not_of(" ,\n"))); }
    double number() {
        skipSeparators();
        double value = 0;
        const auto read = std::from_chars(rest.data(), rest.data() + rest.size(), value);
        isSound = isSound && read.ec == std::errc();
        rest.remove_prefix(static_cast<std::size_t>(read.ptr - rest.data()));
        return value;
    }
    /// One digit, which the next number may follow at once.
    bool flag() {
        skipSeparators();
        isSound = isSound && (rest.starts_with('0') || rest.starts_with('1'));
        if (!isSound) return false;
        const bool isSet = rest.front() == '1';
        rest.remove_prefix(1);
        return isSet;
    }

    Outline& outline;
    std::string_view rest;
    Point begin;
    Point current;
    bool isSound = true;
};

/// What stands between the angle brackets.
struct Tag {
    std::string_view text;

    std::string_view name() const { return text.substr(0, text.find_first_of(" \n")); }
    std::optional<std::string_view> attribute(std::string_view wanted) const {
        for (auto at = text.find(wanted); at != std::string_view::npos; at = text.find(wanted, at + 1)) {
            const bool isWhole = at > 0 && (text[at - 1] == ' ' || text[at - 1] == '\n');
            const auto value = text.substr(at + wanted.size());
            if (isWhole && value.starts_with("=\"")) return value.substr(2, value.find('"', 2) - 2);
        }
        return std::nullopt;
    }
    double length(std::string_view wanted) const {
        const auto value = attribute(wanted).value_or("0");
        double number = 0;
        std::from_chars(value.data(), value.data() + value.size(), number);
        return number;
    }
};

std::optional<Tag> nextTag(std::string_view& svg) {
    const auto begin = svg.find('<');
    const auto end = svg.find('>', std::min(begin, svg.size()));
    if (end == std::string_view::npos) return std::nullopt;
    const Tag tag{svg.substr(begin + 1, end - begin - 1)};
    svg.remove_prefix(end + 1);
    return tag;
}

std::optional<Outline> outlineOf(const Tag& tag) {
    constexpr double quarter = std::numbers::pi / 2;
    Outline outline;
    const auto turn = [&](double x, double y, double radius, double begin, double end) {
        outline.add(Step::arc, {x, y, radius, begin, end});
    };
    if (tag.name() == "path") {
        if (!PathReader(outline, tag.attribute("d").value_or("")).read()) return std::nullopt;
    } else if (tag.name() == "circle") {
        turn(tag.length("cx"), tag.length("cy"), tag.length("r"), 0, 4 * quarter);
        outline.add(Step::close, {});
    } else if (tag.name() == "rect") {
        const double radius = tag.length("rx");
        const double left = tag.length("x") + radius;
        const double top = tag.length("y") + radius;
        const double right = tag.length("x") + tag.length("width") - radius;
        const double bottom = tag.length("y") + tag.length("height") - radius;
        turn(left, top, radius, 2 * quarter, 3 * quarter);
        turn(right, top, radius, -quarter, 0);
        turn(right, bottom, radius, 0, quarter);
        turn(left, bottom, radius, quarter, 2 * quarter);
        outline.add(Step::close, {});
    } else {
        return std::nullopt;
    }
    return outline;
}

}  // namespace

void SymbolDrawing::Outline::add(Step step, std::initializer_list<double> of) {
    steps.push_back(step);
    numbers.insert(numbers.end(), of);
}

std::optional<SymbolDrawing> SymbolDrawing::read(std::string_view svg) {
    std::vector<Outline> drawn, cutOut;
    bool isInMask = false;
    bool isGroupFilled = false;
    while (const auto tag = nextTag(svg)) {
        const auto name = tag->name();
        const auto fill = tag->attribute("fill");
        if (name == "mask" || name == "/mask") {
            isInMask = name == "mask";
        } else if (name == "g" || name == "/g") {
            isGroupFilled = fill && fill != "none";
        } else if (name == "svg" && tag->attribute("stroke-width") != "2") {
            return std::nullopt;
        } else if (name != "svg" && name != "/svg" && name != "!--") {
            // The white of a mask leaves everything as it is.
            if (fill == "white") continue;
            auto outline = outlineOf(*tag);
            if (!outline) return std::nullopt;
            outline->isFilled = fill ? fill != "none" : isGroupFilled;
            outline->isCutOut = isInMask;
            (isInMask ? cutOut : drawn).push_back(std::move(*outline));
        }
    }
    if (drawn.empty()) return std::nullopt;
    drawn.insert(drawn.end(), cutOut.begin(), cutOut.end());
    return SymbolDrawing{std::move(drawn)};
}

}  // namespace vellumix::tools
