#pragma once

#include "elements/ElementBase.h"

#include <QStringList>

// An element that only records what the raise/lower protocol does to it, into a log that may be shared
// between several elements so that tests can check the order across them.
class TestElement : public Orvex::ElementBase
{
public:
    explicit TestElement(const QString& a_name, QStringList* a_log = nullptr, QObject* a_parent = nullptr)
        : Orvex::ElementBase(a_parent), m_log(a_log)
    {
        setName(a_name);
    }

    const Orvex::WindowElement* windowElement() const override { return nullptr; }
    Orvex::WindowElement* windowElement() override { return nullptr; }

    int raises() const { return m_raises; }
    int lowers() const { return m_lowers; }

protected:
    void onRaise() override
    {
        ++m_raises;
        if (m_log)
            m_log->append(QStringLiteral("raise ") + name());
    }
    void onLower() override
    {
        ++m_lowers;
        if (m_log)
            m_log->append(QStringLiteral("lower ") + name());
    }

private:
    QStringList* m_log;
    int m_raises = 0;
    int m_lowers = 0;
};
