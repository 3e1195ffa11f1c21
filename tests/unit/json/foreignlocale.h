#ifndef FOREIGNLOCALE_H
#define FOREIGNLOCALE_H

#include <locale>
#include <string>

// Of a locale that writes 1.234,5.
class CommaForPoint : public std::numpunct<char>
{
protected:
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

// Makes that locale the program's while an object exists.
class ForeignLocale
{
public:
    ForeignLocale()
        : m_former(std::locale::global(std::locale(std::locale::classic(), new CommaForPoint)))
    {
    }
    ~ForeignLocale() { std::locale::global(m_former); }

private:
    std::locale m_former;
};

#endif // FOREIGNLOCALE_H
