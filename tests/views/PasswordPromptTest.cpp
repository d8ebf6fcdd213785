#include "views/panel/PasswordPrompt.h"

#include "platform/foundation/text/LocalizedText.h"
#include "support/FixedTextSetter.h"
#include "support/HeadlessTest.h"
#include "support/OwnMemory.h"

namespace vellumix {
namespace {

class PasswordPromptTest : public HeadlessTest {
protected:
    PasswordPromptTest() {
        view::Renderer::shared().setTexts(view::fixedTextSetter());
        prompt = std::make_unique<PasswordPrompt>(PasswordPrompt::Request{
            .reason = "To see it.", .cancelTitle = "Cancel", .confirmTitle = "Confirm", .onCancel = [this] {
                prompt.reset();
            }});
    }
    headless::Window& window() { return *desktop.windows.shown(NSWindow::Kind::alert); }
    void type(const std::string& text) {
        desktop.runLoop.advance(0.1);
        for (const char letter : text) {
            window().delegate()->keyPressed({.text = std::string(1, letter)});
        }
        window().delegate()->keyPressed({.key = Key::enter, .text = {}});
        desktop.runLoop.advance(0.1);
    }
    void ask(PasswordPrompt::Echo echo = PasswordPrompt::Echo::off) {
        prompt->ask("Password:", echo, [this](SecretText given) { answers.emplace_back(given.view()); });
    }

    std::unique_ptr<PasswordPrompt> prompt;
    std::vector<std::string> answers;
};

TEST_F(PasswordPromptTest, EachQuestionGetsTheAnswerThatWasTypedForIt) {
    EXPECT_TRUE(window().isKeyWindow());
    ask();
    window().delegate()->keyPressed({.key = Key::pageUp});
    type("first");
    type("too late");
    EXPECT_EQ(answers, std::vector<std::string>{"first"}) << "no question is open";
    ask(PasswordPrompt::Echo::on);
    type("2nd");
    EXPECT_EQ(answers, (std::vector<std::string>{"first", "2nd"})) << "nothing of what came between";
}

TEST_F(PasswordPromptTest, WhatIsTypedWhileAnAnswerIsLookedAtIsTheNextTry) {
    ask();
    type("first");
    type("second");
    EXPECT_EQ(answers.size(), 1U);
    ask();
    EXPECT_EQ(answers, (std::vector<std::string>{"first", "second"}));
    ask();
    EXPECT_EQ(answers.size(), 2U) << "once";
}

TEST_F(PasswordPromptTest, ASecretIsFoundNowhereOnceItIsAnswered) {
    const std::vector<std::string> letters{"Z", "q", "7", "#", "K", "w", "u", "'"};
    SecretText answer;
    prompt->ask("Password:", PasswordPrompt::Echo::off, [&](SecretText given) { answer = std::move(given); });
    desktop.runLoop.advance(0.1);
    for (const auto& letter : letters) {
        window().delegate()->keyPressed({.text = letter});
        window().delegate()->keyPressed({.text = "!"});
        window().delegate()->keyPressed({.key = Key::backspace, .text = {}});
        desktop.runLoop.advance(0.1);
    }
    window().delegate()->keyPressed({.key = Key::enter, .text = {}});
    desktop.runLoop.advance(0.1);
    ASSERT_EQ(answer.view().size(), letters.size());
    EXPECT_TRUE(ownMemoryHolds(letters));
    answer = {};
    // Nor what stood in the field on the way.
    EXPECT_FALSE(ownMemoryHolds({letters.begin(), letters.begin() + 6}));
}

TEST_F(PasswordPromptTest, EscapeAndTheCloseBoxBreakItOff) {
    ask();
    desktop.runLoop.advance(0.1);
    window().delegate()->keyPressed({.key = Key::escape, .text = {}});
    EXPECT_EQ(prompt, nullptr);
    EXPECT_EQ(desktop.windows.shown(NSWindow::Kind::alert), nullptr);
}

}  // namespace
}  // namespace vellumix
