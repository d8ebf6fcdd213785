#include "core/transforms/TextTransform.h"

#include <set>

#include "support/HeadlessTest.h"

namespace vellumix {
namespace {

class TextTransformTest : public HeadlessTest {};

TEST_F(TextTransformTest, EachRewritesOrRefuses) {
    using enum TextTransform;
    const std::optional<std::string> refused;
    struct Case {
        TextTransform transform;
        std::string text;
        std::optional<std::string> result;
    };
    const Case cases[] = {
        {uppercase, "straße ñ", "STRASSE Ñ"},
        {lowercase, "ÀÉ Σ", "àé σ"},
        {titleCase, "hELLO wORLD", "Hello World"},
        {titleCase, "o'neill über-alles", "O'neill Über-Alles"},
        {trim, " \n\t a  b \u2003\n", "a  b"},
        {trim, " \n ", ""},
        {jsonFormat, R"({"b":1,"a":[2,{}],"c":"x\/y"})",
         "{\n  \"a\": [\n    2,\n    {}\n  ],\n  \"b\": 1,\n  \"c\": \"x/y\"\n}"},
        {jsonFormat, " 42 ", "42"},
        {jsonFormat, "12345678901234567890.10", "12345678901234567890.10"},
        {jsonFormat, R"({"a":1,"a":2})", "{\n  \"a\": 2\n}"},
        {jsonFormat, R"("tab\tä\u0001\\")", R"("tab\tä\u0001\\")"},
        {jsonFormat, "{a:1}", refused},
        {jsonFormat, "[1,]", refused},
        {jsonFormat, "01", refused},
        {jsonFormat, "", refused},
        {jsonFormat, std::string(100000, '['), refused},
        {urlEncode, "a b&c=ä/?#[]", "a%20b&c=%C3%A4/?%23%5B%5D"},
        {urlDecode, "a%20b%C3%A4", "a bä"},
        {urlDecode, "100%", refused},
        {urlDecode, "%4", refused},
        {urlDecode, "%FF", refused},
        {base64Encode, "fü", "ZsO8"},
        {base64Encode, "a", "YQ=="},
        {base64Decode, "ZsO8", "fü"},
        {base64Decode, "", ""},
        {base64Decode, "Zs\nO8", refused},
        {base64Decode, "YQ", refused},
        {base64Decode, "YQ=", refused},
        {base64Decode, "Y===", refused},
        {base64Decode, "YR==", refused},
        {base64Decode, "YQ==YQ==", refused},
        {base64Decode, "iVBORw==", refused},
        {removeDiacritics, "Čeština éñü", "Cestina enu"},
        {removeDiacritics, "plain 한글", "plain 한글"},
    };
    std::set<TextTransform> tried;
    for (const auto& each : cases) {
        tried.insert(each.transform);
        EXPECT_EQ(vellumix::apply(each.transform, each.text), each.result)
            << rawValue(each.transform) << ": " << each.text.substr(0, 80);
    }
    for (const auto transform : allTextTransforms) {
        EXPECT_TRUE(tried.contains(transform)) << rawValue(transform) << " is not among the cases";
    }
}

TEST_F(TextTransformTest, EachHasWordsAndAnIcon) {
    for (const auto transform : allTextTransforms) {
        EXPECT_NE(title(transform), "transform." + std::string(rawValue(transform)));
        EXPECT_FALSE(icon(transform).empty());
    }
}

}  // namespace
}  // namespace vellumix
