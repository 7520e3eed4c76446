#pragma once

#include <QTest>

/// The table of a data-driven test: its columns with their types, then a call for each row.
///
///     const Rows<QString, int> row("text", "length");
///     row("nothing", "", 0);
template <typename... Columns>
class Rows
{
public:
    template <typename... Names>
    explicit Rows(Names... names)
    {
        (QTest::addColumn<Columns>(names), ...);
    }
    void operator()(const char* name, const Columns&... values) const
    {
        static_cast<void>((QTest::newRow(name) << ... << values));
    }
};
