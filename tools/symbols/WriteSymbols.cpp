// write_symbols OUT SVG...: writes the symbols of SVG files, each named for its file, into a C++ source with
// the table that platform/view/values/Symbols.h declares. Part of the build, so that the program holds
// outlines and reads no SVG. Fails on a file that it can't read completely.

#include <algorithm>
#include <array>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

#include "tools/symbols/SymbolDrawing.h"

namespace {

using namespace vellumix;

constexpr std::array<std::string_view, view::symbolStepCount> stepNames{"move", "line",    "curve",
                                                                        "arc",  "arcBack", "close"};

/// The shortest number that reads as the same double.
std::string written(double number) {
    std::array<char, 32> text{};
    return {text.data(), std::to_chars(text.begin(), text.end(), number).ptr};
}

void write(std::ostream& out, const tools::SymbolDrawing& drawing, std::size_t symbol) {
    std::string outlines;
    for (std::size_t at = 0; at < drawing.outlines.size(); ++at) {
        const auto& outline = drawing.outlines[at];
        const auto suffix = std::to_string(symbol) + "_" + std::to_string(at);
        out << "constexpr SymbolStep steps" << suffix << "[] = {";
        for (const auto step : outline.steps)
            out << "SymbolStep::" << stepNames[static_cast<std::size_t>(step)] << ", ";
        out << "};\nconstexpr double numbers" << suffix << "[] = {";
        for (const double number : outline.numbers) out << written(number) << ", ";
        out << "};\n";
        outlines += "{steps" + suffix + ", numbers" + suffix + (outline.isFilled ? ", true" : ", false") +
                    (outline.isCutOut ? ", true}, " : ", false}, ");
    }
    out << "constexpr SymbolOutline outlines" << symbol << "[] = {" << outlines << "};\n";
}

}  // namespace

int main(int count, char** arguments) {
    std::vector<std::filesystem::path> files(arguments + 2, arguments + count);
    // Symbols are found by their names' order.
    std::ranges::sort(files, {}, [](const auto& file) { return file.stem().string(); });
    std::ofstream out(arguments[1]);
    out << "#include \"platform/view/values/Symbols.h\"\n\nnamespace vellumix::view {\n\nnamespace {\n";
    std::string table;
    for (std::size_t at = 0; at < files.size(); ++at) {
        std::ifstream file(files[at]);
        const std::string svg(std::istreambuf_iterator<char>(file), {});
        const auto drawing = tools::SymbolDrawing::read(svg);
        if (!drawing) {
            std::cerr << files[at].string() << ": not in the part of SVG that symbols are written in\n";
            return 1;
        }
        write(out, *drawing, at);
        table += "    {\"" + files[at].stem().string() + "\", outlines" + std::to_string(at) + "},\n";
    }
    out << "constexpr SymbolEntry symbols[] = {\n"
        << table << "};\n}\n\n"
        << "const std::span<const SymbolEntry> symbolTable = symbols;\n\n}\n";
    return out.flush() ? 0 : 1;
}
