// Texts that a converter is tried on: well-formed text of any charset, and bytes that form nothing.
#pragma once

#include "catalogue.h"

#include <random>
#include <string>

/// Text of the charset itself, as far as it holds these.
inline std::string sample(qzstr_charset_t charset) {
    std::string utf8 = "Plain text, with a blank.\n안녕하세요 세계가각힣\r\nか゚き゚æ̀ɔ́˩˥˥˩˩˥か゚゚𠮷野家で🍣🍣食\n"
                       "すべての人間は、生まれながらにして自由であり、かつ、尊厳と権利とについて平等である。"
                       "人人生而自由在尊严和权利上一律平等繁體中文𠀋𠂢\tКириллица αβγδε °±×÷ §¶ naïve ¿qué? 안\n녕 ";
    std::string text(utf8.size() * 8 + 64, '\0');
    int read = 0, written = 0;
    qzconv::info(QZSTR_CHARSET_UTF8)
        .qzstr_get_another_charset_str_fn[charset](QZSTR_CHARSET_UTF8, utf8.data(), static_cast<int>(utf8.size()),
                                                   charset, text.data(), static_cast<int>(text.size()), &read,
                                                   &written);
    return text.substr(0, static_cast<std::size_t>(written));
}

/// Bytes that begin, continue, end or break a form somewhere; with letters between them if `mostly_ascii`.
inline std::string telling_bytes(std::mt19937& random, std::size_t size, bool mostly_ascii = false) {
    static constexpr unsigned char telling[] = {'\n', '\r', ' ',  'a',  '?',  '0',  '9',  '@',  '~',  0x1B, '$',
                                                ')',  'C',  0x0E, 0x0F, 0x21, 0x30, 0x80, 0x81, 0x82, 0x84, 0x8C,
                                                0x8E, 0x8F, 0x9F, 0xA1, 0xA2, 0xA4, 0xB0, 0xC6, 0xC7, 0xC8, 0xD8,
                                                0xDC, 0xE3, 0xED, 0xF0, 0xF5, 0xFC, 0xFE, 0xFF};
    std::string text;
    while (text.size() < size)
        text += mostly_ascii && random() % 8 != 0 ? static_cast<char>('a' + random() % 26)
                                                  : static_cast<char>(telling[random() % std::size(telling)]);
    return text;
}
