#include <qzstr.h>
#include <stdio.h>

int main(void) {
    char utf16[] = "\xC5\x48\xB1\x55\0!", utf8[32];
    int written = 0;
    _charset_info[QZSTR_CHARSET_UTF16].qzstr_get_another_charset_str_fn[QZSTR_CHARSET_UTF8](
        QZSTR_CHARSET_UTF16, utf16, sizeof utf16 - 1, QZSTR_CHARSET_UTF8, utf8, sizeof utf8, NULL, &written);
    return printf("%.*s\n", written, utf8) < 0;
}
