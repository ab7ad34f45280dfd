#pragma once

#include <QString>

namespace OrvexTest {

// One data row per line of the table in the source file a_relative: a_columns fields separated by
// " | ", the first naming the row and the others going to the QString columns in order (the last field
// takes the rest of the line, separators and all). Empty lines and lines starting with "#" (the notes
// on the rows below them) are skipped.
void addTableRows(const QString& a_relative, int a_columns);

} // namespace OrvexTest
