#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/desktop/FontFamilies.h"
#include "platform/foundation/memory/Cache.h"
#include "platform/view/paint/PangoTextLayout.h"
#include "platform/view/paint/PangoVisibleText.h"

namespace vellumix::view {

/// Sets texts with Pango, in points whatever the scale they are painted at. A text without a line limit shows
/// `longestText` characters at most. Layouts that were set lately are kept, in a bounded cache that holds
/// their texts too, until it is to forget them. Without any font each letter is an empty box. Main thread
/// only.
class PangoTextSetter final : public TextSetter {
public:
    explicit PangoTextSetter(FontFamilies families = {});

    std::shared_ptr<const TextLayout> set(const String& text, const TextOptions& options) override;
    void forget() override;

    /// All characters that have been shaped until now: what the setting of texts costs.
    std::uint64_t shapedCharacterCount() const { return shapedCharacterCount_; }

private:
    static constexpr std::size_t countLimit = 512;
    static constexpr std::size_t byteLimit = std::size_t{2} << 20;

    /// In a direction that the text has, or in the one that it is given.
    handles::Layout layout(std::string_view text, const TextOptions& options,
                           std::optional<PangoDirection> direction = std::nullopt);
    std::shared_ptr<const PangoTextLayout> set(const VisibleText& visible, const TextOptions& options);
    PangoTextLayout lines(const VisibleText& visible, const TextOptions& options);
    PangoTextLayout::Part lastLine(const VisibleText& visible, std::size_t begin, PangoDirection direction,
                                   const TextOptions& options);

    FontFamilies families;
    handles::Object<PangoFontMap> fontMap;
    handles::Object<PangoContext> context;
    handles::Object<PangoContext> rightToLeftContext;
    CacheKey key;
    NSCache<PangoTextLayout> layouts{countLimit, byteLimit};
    std::uint64_t shapedCharacterCount_ = 0;
};

}  // namespace vellumix::view
