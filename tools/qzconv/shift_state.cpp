#include "shift_state.h"

#include "catalogue.h"

namespace qzconv {

namespace {

constexpr std::string_view designator = "\x1B$)C";
constexpr char shift_out = 0x0E, shift_in = 0x0F;

struct Text {
    std::string bytes;
    bool exact;
};

Text encode(qzstr_charset_t charset, char16_t unit) {
    char source[] = {static_cast<char>(unit >> 8), static_cast<char>(unit & 0xFF)};
    char target[16];
    int read = 0, written = 0;
    const conv_status_t status =
        info(charset).qzstr_from_ucs2_fn(source, sizeof source, target, sizeof target, &read, &written, 1);
    return {std::string(target, static_cast<std::size_t>(written)), status == 0};
}

bool becomes_korean(qzstr_charset_t from, std::string text) {
    char target[32];
    int read = 0, written = 0;
    const conv_status_t status = info(from).qzstr_get_another_charset_str_fn[QZSTR_CHARSET_ISO2022KR](
        from, text.data(), static_cast<int>(text.size()), QZSTR_CHARSET_ISO2022KR, target, sizeof target, &read,
        &written);
    return status == 0 &&
           std::string_view(target, static_cast<std::size_t>(written)).find(shift_out) != std::string::npos;
}

} // namespace

std::string SourceShift::prefix() const {
    std::string bytes;
    if (designated_) bytes += designator;
    if (shifted_) bytes += shift_out;
    return bytes;
}

void SourceShift::pass(std::string_view text) {
    for (std::size_t at = 0; at < text.size(); ++at)
        if (text.substr(at, designator.size()) == designator)
            designated_ = true;
        else if (text[at] == shift_out)
            shifted_ = designated_;
        else if (text[at] == shift_in)
            shifted_ = false;
}

TargetShift::TargetShift(qzstr_charset_t from) : blank_(encode(from, u' ').bytes) {
    if (info(from).max_bytes_per_char == 1) {
        for (int byte = 0x80; byte < 0x100 && korean_.empty(); ++byte)
            if (const std::string text(1, static_cast<char>(byte)); becomes_korean(from, text)) korean_ = text;
    } else {
        for (const char16_t unit : {u'\uAC00', u'\u4E00', u'\u3042', u'\u0391'})
            if (const Text text = encode(from, unit); korean_.empty() && text.exact && becomes_korean(from, text.bytes))
                korean_ = text.bytes;
    }
}

std::string TargetShift::prefix() const {
    if (korean_.empty() || !announced_) return {};
    return shifted_ ? korean_ : korean_ + blank_;
}

std::string_view TargetShift::strip_prefix(std::string_view output) const {
    if (korean_.empty() || !announced_) return output;
    const std::size_t korean = designator.size() + 1 + 2; // SO and the two bytes
    return output.substr(shifted_ ? korean : korean + 2); // SI and the blank
}

std::string_view TargetShift::pass(std::string_view output, bool ends_with_literal, bool at_end) {
    output = strip_prefix(output);
    if (korean_.empty()) return output;
    if (!at_end) output.remove_suffix(1); // the blank
    shifted_ = false;
    const std::size_t line_end = output.find_last_of("\r\n");
    if (line_end != std::string_view::npos) announced_ = false;
    const std::string_view line = line_end == std::string_view::npos ? output : output.substr(line_end);
    if (line.find("\x1B$)C\x0E") != std::string_view::npos) announced_ = true;
    if (!at_end && announced_ && !ends_with_literal && output.ends_with(shift_in)) {
        output.remove_suffix(1);
        shifted_ = true;
    }
    return output;
}

} // namespace qzconv
