#pragma once

/// The value of one hexadecimal digit of either case; -1 when `unit` is none.
constexpr int hexDigit(char16_t unit) {
    if (unit >= u'0' && unit <= u'9')
        return unit - u'0';
    const int lower = unit | 0x20;
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}
