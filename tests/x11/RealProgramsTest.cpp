// Round trips with the command-line programs that everybody has.

#include "x11/Program.h"
#include "x11/X11Test.h"

namespace vellumix::tests {

class RealProgramsTest : public X11Test {
protected:
    /// Stays in the foreground, so that the test can end it.
    std::unique_ptr<Program> copyWith(std::vector<std::string> command, const std::string& input) {
        return std::make_unique<Program>(runLoop, std::move(command), input);
    }
    std::string pasteWith(const std::vector<std::string>& command) {
        Program program(runLoop, command);
        EXPECT_TRUE(program.waitForEnd()) << command.front();
        return program.output();
    }

    static std::string largeText() {
        std::string text(5'000'000, ' ');
        for (std::size_t at = 0; at < text.size(); ++at) text[at] = static_cast<char>('a' + (at * at) % 23);
        return text;
    }

    const std::vector<std::string> xclipIn{"xclip", "-quiet", "-i", "-selection", "clipboard"};
    const std::vector<std::string> xclipOut{"xclip", "-o", "-selection", "clipboard"};
    const std::vector<std::string> xselIn{"xsel", "--nodetach", "-i", "-b"};
    const std::vector<std::string> xselOut{"xsel", "-o", "-b"};
};

TEST_F(RealProgramsTest, TextComesIn) {
    const auto large = largeText();
    for (const auto& command : {xclipIn, xselIn}) {
        for (const auto& content : {std::string("żółw\nsecond line\n"), large, std::string("secret")}) {
            SCOPED_TRACE(command.front() + " " + std::to_string(content.size()));
            const auto program = copyWith(command, content);
            EXPECT_TRUE(nextText() == content);
            // The next copy of another program is not held up by what this one does.
            peer->copyText("next");
            EXPECT_EQ(nextText(), "next");
            EXPECT_TRUE(program->waitForEnd()) << "a program that lost the clipboard didn't end";
        }
    }
    EXPECT_TRUE(drops.empty()) << rawValue(drops.front());
}

TEST_F(RealProgramsTest, TextGoesOut) {
    for (const auto& content : {std::string("żółw\nsecond line\n"), largeText()}) {
        write(content);
        EXPECT_TRUE(pasteWith(xclipOut) == content) << "xclip " << content.size();
        EXPECT_TRUE(pasteWith(xselOut) == content) << "xsel " << content.size();
    }
    EXPECT_TRUE(wait([&] { return pasteboard->activeTransfers() == 0; }));
}

TEST_F(RealProgramsTest, AnImageComesInAndGoesOutAsItIs) {
    std::string png("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16);
    while (png.size() < 2'000'000) png += static_cast<char>(png.size() * png.size() / 7);
    auto command = xclipIn;
    command.insert(command.end(), {"-t", "image/png"});
    const auto program = copyWith(command, png);
    EXPECT_EQ(nextText(), "-");
    EXPECT_TRUE(asText(pasteboard->dataForType(NSPasteboardTypeTIFF).value_or(Data())) == png);

    pasteboard->clearContents();
    ASSERT_TRUE(pasteboard->writeImage(Data(std::string_view(png))));
    ASSERT_TRUE(waitForOurOwnership());
    command = xclipOut;
    command.insert(command.end(), {"-t", "image/png"});
    EXPECT_TRUE(pasteWith(command) == png);
}

}  // namespace vellumix::tests
