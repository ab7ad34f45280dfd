#pragma once

#include "model/NumericValue.h"

#include <QString>

namespace Orvex {

// How the numeric XML Schema types may be written, checked on a file's text rather than on the value
// read from it: the reader is lenient on purpose ("0x800", "2048.0" and "1e3" all load), so the text
// itself must say whether a schema-checking program would take it. Integer bounds are compared on the
// digits, since a double cannot tell 2^64 from 2^64 - 1.
class NumericSpelling
{
public:
    NumericSpelling() = delete;

    // What a_type allows, for messages: "whole numbers in decimal digits", ...
    static QString allowedForm(NumericValue::RepTypeEnum a_type);
    // Whether a_text, trimmed, is written as a_type allows.
    static bool isWellFormed(const QString& a_text, NumericValue::RepTypeEnum a_type);
    // For a well-formed integer text: -1 below the type's own range, 1 above it, 0 within (always 0 for
    // the other types).
    static int compareWithTypeRange(const QString& a_text, NumericValue::RepTypeEnum a_type);
    // The type's own bounds as texts, empty where there is none.
    static QString typeMinimum(NumericValue::RepTypeEnum a_type);
    static QString typeMaximum(NumericValue::RepTypeEnum a_type);
    // A float or double text naming a number too small for the type, which reads as zero.
    static bool underflows(const QString& a_text, NumericValue::RepTypeEnum a_type);
    // Digits after the point that count, trailing zeros left out; 0 for an exponent form.
    static int fractionDigits(const QString& a_text);
};

} // namespace Orvex
