#pragma once

#include "elements/ElementBase.h"

#include <QStringList>

// An element that only records what the raise/lower protocol does to it, into a log that may be shared
// between several elements so that tests can check the order across them.
class TestElement : public Orvex::ElementBase
{
public:
    explicit TestElement(const QString& a_name, QStringList* a_log = nullptr, QObject* a_parent = nullptr)
        : Orvex::ElementBase(a_parent), m_log(a_log ? a_log : &m_ownLog)
    {
        setName(a_name);
    }

    const Orvex::WindowElement* windowElement() const override { return nullptr; }
    Orvex::WindowElement* windowElement() override { return nullptr; }

protected:
    void onRaise() override { m_log->append(QStringLiteral("raise ") + name()); }
    void onLower() override { m_log->append(QStringLiteral("lower ") + name()); }

private:
    QStringList m_ownLog;
    QStringList* m_log;
};
