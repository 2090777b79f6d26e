#include <iostream>
#include <qzstr.hpp>
#include <string>

int main() {
    const auto from = qzstr::charset::named("UTF-8"), to = qzstr::charset::named("CP949");
    const std::string text = "안녕, libqzstr";
    char out[32];
    const qzstr::result done = from->convert(text, *to, out);
    std::cout << from->count(text) << " characters, " << text.size() << " bytes; " << done.written << " bytes in "
              << to->name() << (done.exact() ? "\n" : ", inexact\n");
}
