#include "elements/FeatureSearch.h"

#include "elements/CameraElement.h"
#include "elements/CameraGlobalCategory.h"
#include "elements/FeatureIndex.h"
#include "elements/ModeCategoryElementBase.h"
#include "elements/ModeElement.h"
#include "elements/UnbuiltModeReader.h"
#include "elements/ValueFeatureElementBase.h"

namespace Orvex {

FeatureSearch::FeatureSearch(const CameraElement* a_camera, const Options& a_options)
    : m_camera(a_camera), m_options(a_options)
{
    // Plain words are compared directly: a regular expression per value would cost most of the search.
    m_plain = !a_options.regularExpression && !a_options.wholeWord;
    if (m_plain)
        return;
    QString pattern =
        a_options.regularExpression ? a_options.text : QRegularExpression::escape(a_options.text);
    if (a_options.wholeWord)
        pattern = QStringLiteral("\\b(?:%1)\\b").arg(pattern);
    m_expression.setPattern(pattern);
    m_expression.setPatternOptions(a_options.caseSensitive ? QRegularExpression::NoPatternOption
                                                           : QRegularExpression::CaseInsensitiveOption);
    m_expression.optimize();
}

bool FeatureSearch::isValid() const
{
    return !m_options.text.isEmpty() && (m_plain || m_expression.isValid());
}

QString FeatureSearch::errorText() const
{
    return m_plain || m_expression.isValid() ? QString() : m_expression.errorString();
}

bool FeatureSearch::matches(const QString& a_text) const
{
    if (m_plain)
        return a_text.contains(m_options.text,
                               m_options.caseSensitive ? Qt::CaseSensitive : Qt::CaseInsensitive);
    return m_expression.match(a_text).hasMatch();
}

bool FeatureSearch::searchNext(int a_scopes)
{
    if (!m_camera || !isValid()) {
        m_nextScope = m_camera ? m_camera->modeCount() : 0;
        return false;
    }
    const QVector<ModeElement*> modes = m_camera->modes();
    for (; a_scopes > 0 && m_nextScope < modes.size(); --a_scopes, ++m_nextScope) {
        const ModeElement* mode = m_nextScope < 0 ? nullptr : modes.at(m_nextScope);
        Match match;
        ElementLocator categoryLocator;
        match.mode = m_nextScope;
        match.scope = mode ? mode->name() : cameraScopeName();
        const auto visitor = [&](const FeatureIndex::Entry& a_entry) {
            const bool found = (m_options.inNames && matches(a_entry.name)) ||
                               (m_options.inValues && a_entry.instance != FeatureIndex::NoInstance &&
                                matches(a_entry.value)) ||
                               (m_options.inDocumentation && matches(a_entry.feature->annotation()));
            if (!found)
                return;
            match.path = a_entry.path;
            match.value = a_entry.value;
            match.instance = a_entry.instance;
            if (categoryLocator.isValid()) {
                match.locator = categoryLocator;
                for (const int step : a_entry.steps)
                    match.locator = match.locator.child(step);
            } else {
                match.feature = const_cast<ValueFeatureElementBase*>(a_entry.feature);
            }
            m_matches.append(match);
        };
        if (!mode) {
            match.category = m_camera->globalCategory()->name();
            FeatureIndex::visit(m_camera->globalCategory(), FeatureIndex::scopePath(m_camera), true, visitor);
            continue;
        }
        const QStringList scopePath = FeatureIndex::scopePath(mode);
        // A mode not built yet is read from its document node, and its matches lead to where its
        // features will be.
        if (const LumexTreeElement* modeNode = m_camera->modeTemplate() ? mode->unbuiltContent() : nullptr) {
            const QVector<ModeCategoryElementBase*> categories = m_camera->modeTemplate()->categories();
            const ElementLocator modeLocator = ElementLocator::locate(m_camera, mode);
            for (int position = 0; position < categories.size(); ++position) {
                if (!UnbuiltModeReader::categoryNode(modeNode, categories.at(position)))
                    continue;
                match.category = categories.at(position)->name();
                categoryLocator = modeLocator.child(position);
                FeatureIndex::visitUnbuilt(categories.at(position), modeNode, scopePath, true, visitor);
            }
            categoryLocator = ElementLocator();
            continue;
        }
        for (const ModeCategoryElementBase* category : mode->categories()) {
            // What a switched-off category keeps is not in the file; finding it there would mislead.
            if (!FeatureIndex::isPresent(category))
                continue;
            match.category = category->name();
            FeatureIndex::visit(category, scopePath, true, visitor);
        }
    }
    return !isFinished();
}

bool FeatureSearch::isFinished() const
{
    return !m_camera || m_nextScope >= m_camera->modeCount();
}

QVector<FeatureSearch::Match> FeatureSearch::findAll(const CameraElement* a_camera, const Options& a_options)
{
    FeatureSearch search(a_camera, a_options);
    while (search.searchNext(64)) {
    }
    return search.matches();
}

QString FeatureSearch::cameraScopeName()
{
    return QStringLiteral("Camera");
}

} // namespace Orvex
