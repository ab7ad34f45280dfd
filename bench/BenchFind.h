#pragma once

#include <QByteArray>
#include <QString>

// Finding across a large camera file as the find bar does it, and comparing two such files, measured
// in a process of their own (see bench_editor).
namespace Orvex::Bench {

// Loads a_file twice, as two documents, then times a search's first results (the find bar's first turn
// that finds anything) and all of them, and the comparison of the two documents with every value
// listed. Prints one "FIND ..." line of figures; returns 0 on success.
int measureFind(const QString& a_schema, const QString& a_file);

// Prints the rows of a "FIND ..." line against their targets; returns the number of targets missed.
// The search's times have targets for one file size only; at other sizes they are printed unjudged.
int printFindRows(const QByteArray& a_output, bool a_timesJudged);

} // namespace Orvex::Bench
