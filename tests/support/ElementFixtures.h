#pragma once

#include "elements/FeatureElementBase.h"
#include "elements/WidgetElementBase.h"

#include <QStringList>
#include <QVariant>

#include <cstddef>
#include <functional>

namespace OrvexTest {

// The lines of an expected-output file kept in the source tree (a_relative from the top folder), so a
// long listing is compared line by line and a mismatch names the first line that differs.
QStringList goldenLines(const QString& a_relative);

// The data rows of a table file a_relative: a header line "tag | column | ..." names the columns, then
// each line "tag | value | ..." is a row, every column a QString. Values are trimmed unless quoted
// ("  a "); \n, \t and \| stand for a line break, a tab and a bar. Blank lines and "#" lines are skipped.
void addTextRows(const QString& a_relative);

// The current row's column a_name of a table read by addTextRows(), as read or as a flag ("true").
QString rowText(const char* a_name);
bool rowFlag(const char* a_name);

// The key a table names without its "Key_" prefix ("Return", "Up").
Qt::Key keyNamed(const QString& a_name);

// A bare parent for the features under test: it owns a page widget and has nothing to highlight.
class HolderElement : public Orvex::WidgetElementBase
{
public:
    using WidgetElementBase::WidgetElementBase;
    HolderElement() : WidgetElementBase(nullptr, nullptr) {}
    void highlight(size_t) override {}

    // Puts the feature's widget on a shown page, so that clicks and key presses reach the value
    // widgets as a user's do. Returns false when the window never got exposed (or activated).
    bool show(Orvex::FeatureElementBase& a_feature, bool a_activate = false);
};

// An element that counts its raise and lower hooks, adds "raise <name>" and "lower <name>" to a_log when
// given one (several elements may share it, so that a test sees the order across them) and, unlike widget
// elements, does not pass a raise on to its parent. Its window element is any recognisable address.
class RecordingElement : public Orvex::ElementBase
{
public:
    explicit RecordingElement(const QString& a_name = QString(), QStringList* a_log = nullptr,
                              QObject* a_parent = nullptr)
        : ElementBase(a_parent), m_log(a_log)
    {
        setName(a_name);
    }
    const Orvex::WindowElement* windowElement() const override { return nullptr; }
    Orvex::WindowElement* windowElement() override { return reinterpret_cast<Orvex::WindowElement*>(this); }

    int raises = 0;
    int lowers = 0;
    std::function<void()> whenRaised;

protected:
    void onRaise() override
    {
        note(raises, "raise ");
        if (whenRaised)
            whenRaised();
    }
    void onLower() override { note(lowers, "lower "); }

private:
    void note(int& a_count, const QString& a_hook)
    {
        ++a_count;
        if (m_log)
            m_log->append(a_hook + name());
    }

    QStringList* m_log;
};

// A value feature that records each change it hands over for undo as "index: old -> new" instead of
// pushing a command, so a test sees exactly what an edit would have put on the undo stack.
template <class Feature>
class Recording : public Feature
{
public:
    using Feature::Feature;
    using Feature::valueWidget;
    QStringList pushes;

    template <class Widget>
    Widget* valueWidgetAs(size_t a_index) const
    {
        return qobject_cast<Widget*>(this->valueWidget(a_index));
    }

protected:
    void pushValueChange(size_t a_index, const QVariant& a_old, const QVariant& a_new) override
    {
        pushes << QStringLiteral("%1: %2 -> %3").arg(a_index).arg(a_old.toString(), a_new.toString());
    }
};

} // namespace OrvexTest
