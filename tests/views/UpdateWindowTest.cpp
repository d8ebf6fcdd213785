#include "views/panel/UpdateWindow.h"

#include "platform/foundation/text/LocalizedText.h"
#include "support/FixedTextSetter.h"
#include "support/HeadlessTest.h"

namespace vellumix {
namespace {

using Answer = UpdatePrompt::Answer;
using Manner = UpdatePrompt::Manner;

class UpdateWindowTest : public HeadlessTest {
protected:
    UpdateWindowTest() { view::Renderer::shared().setTexts(view::fixedTextSetter()); }
    void open(Manner manner, const UpdatePrompt::Stage& stage) {
        answers.clear();
        prompt.reset();
        prompt = std::make_unique<UpdateWindow>(manner, stage, [this](Answer answer) {
            answers.push_back(answer);
            // As whoever holds it may do.
            prompt.reset();
        });
        desktop.runLoop.advance(0.1);
    }
    headless::Window& window() { return *desktop.windows.shown(NSWindow::Kind::titled); }
    void press(Key key) {
        window().delegate()->keyPressed({.key = key, .text = {}});
        desktop.runLoop.advance(0.1);
    }

    std::unique_ptr<UpdateWindow> prompt;
    std::vector<Answer> answers;
};

TEST_F(UpdateWindowTest, EveryAnswerCanBeGivenByKeys) {
    const UpdatePrompt::Stage offer = UpdatePrompt::Offer{"2.0", "1.0", "Notes.\nMore."};
    const struct {
        Manner manner;
        UpdatePrompt::Stage stage;
        std::vector<Key> keys;
        std::vector<Answer> given;
    } cases[] = {
        {Manner::asked, offer, {Key::enter}, {Answer::install}},
        {Manner::unasked, offer, {Key::enter, Key::enter, Key::space}, {}},
        {Manner::unasked, offer, {Key::tab, Key::enter}, {Answer::skip}},
        {Manner::unasked, offer, {Key::tab, Key::tab, Key::enter}, {Answer::later}},
        {Manner::unasked, offer, {Key::down, Key::tab, Key::tab, Key::tab, Key::enter}, {Answer::install}},
        {Manner::unasked, offer, {Key::escape}, {Answer::later}},
        {Manner::asked, UpdatePrompt::Checking{}, {Key::enter, Key::escape}, {Answer::close}},
        {Manner::asked, UpdatePrompt::Progress{"2.0", 0.5}, {Key::enter, Key::escape}, {Answer::close}},
        {Manner::asked, UpdatePrompt::Message{"Done."}, {Key::enter}, {Answer::close}},
        {Manner::asked, UpdatePrompt::Message{"Done."}, {Key::escape}, {Answer::close}},
    };
    for (const auto& each : cases) {
        open(each.manner, each.stage);
        EXPECT_EQ(window().isKeyWindow(), each.manner == Manner::asked) << "it takes no keyboard by itself";
        for (const auto key : each.keys) {
            if (prompt) press(key);
        }
        EXPECT_EQ(answers, each.given) << each.stage.index() << ", " << each.keys.size() << " keys";
        EXPECT_EQ(desktop.windows.shown(NSWindow::Kind::titled) == nullptr, !each.given.empty());
    }
    open(Manner::unasked, offer);
    prompt->raise();
    EXPECT_TRUE(window().isKeyWindow());
    window().delegate()->closeRequested();
    EXPECT_EQ(answers, std::vector{Answer::close});
}

TEST_F(UpdateWindowTest, ItIsAsLargeAsWhatItShowsAndStaysWhereItIs) {
    open(Manner::asked, UpdatePrompt::Offer{"2.0", "1.0", "Notes."});
    const auto offered = window().frame();
    prompt->show(UpdatePrompt::Progress{"2.0", 0});
    const auto small = window().frame();
    EXPECT_LT(small.size.height, offered.size.height);
    EXPECT_EQ(small.centre().x, offered.centre().x);
    EXPECT_EQ(small.centre().y, offered.centre().y);
    prompt->show(UpdatePrompt::Progress{"2.0", 0.5});
    EXPECT_EQ(window().frame(), small);
    UpdatePrompt::Offer longest{"2.0", "1.0", "the end"};
    longest.notes.insert(0, 16'000, '\n');
    open(Manner::asked, longest);
    EXPECT_LT(window().frame().size.height, 400);
}

}  // namespace
}  // namespace vellumix
