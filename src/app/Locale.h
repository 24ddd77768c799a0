#pragma once

namespace Locale {

/// Makes sure that text is UTF-8 in this process, before Qt looks: it complains on standard error about anything else.
void useUtf8();

} // namespace Locale
