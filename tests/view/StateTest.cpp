#include "platform/foundation/observation/Published.h"
#include "view/TreeUnderTest.h"

namespace vellumix::view {
namespace {

/// A button that counts its presses in its label.
struct Counter {
    std::string name;
    std::vector<Binding<int>>* given = nullptr;
    State<int> count = 0;

    View body() const {
        const auto binding = count.binding();
        if (given) given->push_back(binding);
        return Button([binding] { binding.set(binding.get() + 1); },
                      Text(name + " " + std::to_string(count)));
    }
};

/// Rows by number, each of which tells when it is made.
struct Rows {
    std::vector<std::string>* made = nullptr;
    State<std::string> suffix;
    State<int> marked = 0;
    State<double> size = 10.0;

    View body() const {
        const auto row = [this](int number) {
            const bool isMarked = marked == number;
            return Memo(
                [made = made, number, isMarked] {
                    made->push_back(std::to_string(number) + (isMarked ? "!" : ""));
                    return Counter{.name = std::to_string(number) + (isMarked ? "!" : "")};
                },
                number, isMarked);
        };
        return VStack(Spacing(0), Button([marked = marked.binding()] { marked.set(2); }, Text("mark")),
                      Button([suffix = suffix.binding()] { suffix.set("."); }, Text("end" + suffix.get())),
                      Button([size = size.binding()] { size.set(12); }, Text("enlarge")),
                      ForEach(
                          std::vector{1, 2}, [](int number) { return std::to_string(number); }, row))
            .font(Font::system(size));
    }
};

TEST(State, AMemoIsMadeAnewForItsValuesAndTheEnvironmentAlone) {
    std::vector<std::string> made;
    TreeUnderTest tree(Rows{&made});
    EXPECT_EQ(made, (std::vector<std::string>{"1", "2"}));
    tree.click(Role::button, "2 0");
    tree.click(Role::button, "end");
    EXPECT_TRUE(tree.has(Role::button, "end."));
    EXPECT_EQ(made.size(), 2U);
    tree.click(Role::button, "mark");
    EXPECT_EQ(made, (std::vector<std::string>{"1", "2", "2!"}));
    EXPECT_TRUE(tree.has(Role::button, "2! 1")) << "its states stay";
    tree.click(Role::button, "enlarge");
    EXPECT_EQ(made.size(), 5U);
}

TEST(State, LastsAsLongAsPlaceTypeAndIdDo) {
    struct Case {
        const char* what;
        View before;
        View after;
        bool isKept;
    };
    const auto counter = [] { return View(Counter{.name = "n"}); };
    const auto column = [](auto... views) { return View(VStack(Spacing(0), views...)); };
    const auto list = [](std::vector<int> ids) {
        return VStack(Spacing(0), ForEach(
                                      ids, [](int id) { return std::to_string(id); },
                                      [](int id) { return Counter{.name = id == 1 ? "n" : "other"}; }));
    };
    const Case cases[] = {
        {"described again", column(counter()), column(counter()), true},
        {"an absent sibling keeps its place", column(View(), counter()), column(Text("new"), counter()),
         true},
        {"another place", column(counter(), Text("a")), column(Text("a"), counter()), false},
        {"another type around it", column(counter()), column(counter().padding(1)), false},
        {"the same id elsewhere", column(counter().id("x"), Text("a")), column(Text("a"), counter().id("x")),
         true},
        {"another id", column(counter().id("x")), column(counter().id("y")), false},
        {"a row that moves", list({1, 2, 3}), list({3, 2, 1}), true},
        {"a row among new ones", list({1}), list({7, 8, 1, 9}), true},
    };
    for (const auto& one : cases) {
        TreeUnderTest tree(one.before);
        tree.click(Role::button, "n 0");
        ASSERT_TRUE(tree.has(Role::button, "n 1")) << one.what;
        tree.tree->setRoot(one.after);
        EXPECT_TRUE(tree.has(Role::button, one.isKept ? "n 1" : "n 0")) << one.what;
    }
    TreeUnderTest gone(list({1, 2}));
    gone.click(Role::button, "n 0");
    gone.tree->setRoot(list({2}));
    gone.frame();
    gone.tree->setRoot(list({1, 2}));
    EXPECT_TRUE(gone.has(Role::button, "n 0"));
}

TEST(State, OneDescriptionInTwoPlacesHasTwoStates) {
    const View counter = Counter{.name = "n"};
    TreeUnderTest tree(VStack(Spacing(0), counter, counter));
    tree.click(Role::button, "n 0");
    EXPECT_TRUE(tree.has(Role::button, "n 0"));
    EXPECT_TRUE(tree.has(Role::button, "n 1"));
}

TEST(State, ABindingOutlivesItsStateHarmlessly) {
    std::vector<Binding<int>> given;
    TreeUnderTest tree(Counter{.name = "n", .given = &given});
    ASSERT_FALSE(given.empty());
    const auto binding = given.front();
    binding.set(5);
    EXPECT_EQ(binding.get(), 5);
    EXPECT_TRUE(tree.has(Role::button, "n 5"));
    tree.tree->setRoot(Text("else"));
    tree.frame();
    EXPECT_EQ(binding.get(), 0);
    binding.set(7);
    EXPECT_EQ(binding.get(), 0);
    EXPECT_FALSE(tree.tree->needsFrame());

    const State<int> loose = 3;
    loose.set(4);
    EXPECT_EQ(loose.get(), 3);
    EXPECT_EQ(loose.binding().get(), 3);
}

/// Reads a service, and says how often it was asked to.
struct Reader {
    const Published<int>* source;
    int* evaluations;

    View body() const {
        ++*evaluations;
        const int value = source->get();
        return Text("value " + std::to_string(value + **source - source->get()));
    }
};

TEST(Published, RedrawsThoseWhoReadItAndNobodyElse) {
    Published<int> one(1);
    Published<int> two(2);
    int ofOne = 0;
    int ofTwo = 0;
    int asked = 0;
    TreeUnderTest tree(VStack(Spacing(0), Reader{&one, &ofOne}, Reader{&two, &ofTwo}));
    tree.tree->onNeedsFrame([&] { ++asked; });
    EXPECT_FALSE(tree.tree->needsFrame());
    one.set(10);
    one.set(11);
    EXPECT_EQ(asked, 1);
    EXPECT_TRUE(tree.has(Role::text, "value 11"));
    EXPECT_EQ(ofOne, 2);
    EXPECT_EQ(ofTwo, 1);
    tree.tree->setRoot(Text("else"));
    tree.frame();
    two.set(3);
    EXPECT_FALSE(tree.tree->needsFrame());
}

TEST(Published, MayDestroyTheTreeOrItselfWhileItNotifies) {
    auto source = std::make_unique<Published<int>>(1);
    int evaluations = 0;
    TreeUnderTest tree(Reader{source.get(), &evaluations});
    tree.tree->onNeedsFrame([&] { tree.tree.reset(); });
    source->set(2);
    EXPECT_EQ(tree.tree, nullptr);
    source->set(3);

    TreeUnderTest left(Reader{source.get(), &evaluations});
    left.tree->onNeedsFrame([&] { source.reset(); });
    source->set(4);
    EXPECT_TRUE(left.tree->needsFrame());
    left.tree->setRoot(Text("else"));
    left.frame();
}

struct Greeting {
    View body() const {
        const auto* name = fromEnvironment<std::string>();
        return Text("Hello " + (name ? *name : std::string("nobody")));
    }
};

TEST(Environment, ReachesWhatIsBelowAndFollowsChanges) {
    const auto greeting = [](const char* name) {
        return VStack(Spacing(0), Greeting{}, View(Greeting{}).environment(std::string(name)));
    };
    TreeUnderTest tree(greeting("Ada"));
    EXPECT_TRUE(tree.has(Role::text, "Hello nobody"));
    EXPECT_TRUE(tree.has(Role::text, "Hello Ada"));
    tree.tree->setRoot(greeting("Bo"));
    EXPECT_TRUE(tree.has(Role::text, "Hello Bo"));
    EXPECT_EQ(fromEnvironment<std::string>(), nullptr);
}

}  // namespace
}  // namespace vellumix::view
