// A locale that writes numbers with a comma, made in the working directory: no machine needs to have it.
#pragma once

#include <clocale>
#include <cstdlib>
#include <locale>
#include <string>

namespace test_support {

inline constexpr char kGermanLocale[] = "de_DE.UTF-8";

// In the working directory, which is where LOCPATH must lead then. The sources come with the package
// `locales`.
inline bool makeGermanLocale() {
    return std::system("localedef -c -i de_DE -f UTF-8 ./de_DE.UTF-8 >localedef.log 2>&1") == 0;
}

// What a stream of C++ makes of that locale. std::locale would look for it itself, and leak LOCPATH's parts.
class GermanNumbers : public std::numpunct<char> {
protected:
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

// The process has the locale, in C and in C++, while this lives.
class GermanLocale {
public:
    GermanLocale() {
        if (makeGermanLocale() && setenv("LOCPATH", ".", 1) == 0 &&
            std::setlocale(LC_ALL, kGermanLocale) != nullptr) {
            std::locale::global(std::locale(std::locale::classic(), new GermanNumbers));
        }
    }
    ~GermanLocale() {
        std::locale::global(std::locale::classic());
        unsetenv("LOCPATH");
    }
    GermanLocale(const GermanLocale&) = delete;
    GermanLocale& operator=(const GermanLocale&) = delete;

    bool isInForce() const { return std::localeconv()->decimal_point[0] == ','; }
};

} // namespace test_support
