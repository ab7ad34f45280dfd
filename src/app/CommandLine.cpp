#include "app/CommandLine.h"

namespace Orvex {

namespace {

bool isOption(const QString& a_argument)
{
    return a_argument.startsWith(QLatin1Char('-')) || a_argument.startsWith(QLatin1Char('/'));
}

bool isHelpOption(const QString& a_option)
{
    return a_option == QLatin1String("H") || a_option == QLatin1String("HELP") ||
           a_option == QLatin1String("?");
}

QString optionError(const char* a_what, const QString& a_option)
{
    return QStringLiteral("%1 argument, \"/%2\".\n").arg(QLatin1String(a_what), a_option);
}

} // namespace

CommandLine CommandLine::parse(const QStringList& a_arguments, Mode a_mode)
{
    CommandLine result;
    QString* pendingValue = nullptr;
    QString pendingOption;
    for (const QString& argument : a_arguments) {
        if (pendingValue) {
            if (!pendingValue->isEmpty()) {
                result.m_errorText = optionError("Duplicate", pendingOption);
                return result;
            }
            *pendingValue = argument;
            pendingValue = nullptr;
            continue;
        }
        if (!isOption(argument)) {
            if (a_mode == Mode::SharedOptions) {
                result.m_remaining << argument;
                continue;
            }
            result.m_errorText = QStringLiteral("Unexpected token, \"%1\".\n").arg(argument);
            return result;
        }
        const QString option = argument.mid(1).toUpper();
        if (QString* slot = result.valueSlot(option, a_mode)) {
            pendingValue = slot;
            pendingOption = option;
        } else if (a_mode == Mode::SharedOptions) {
            result.m_remaining << argument;
        } else if (isHelpOption(option)) {
            result.m_helpRequested = true;
        } else {
            result.m_errorText = optionError("Unknown", option);
            return result;
        }
    }
    if (pendingValue)
        result.m_errorText = optionError("Incomplete", pendingOption);
    return result;
}

QString CommandLine::helpText()
{
    return QStringLiteral("\nFile editor for Quarnel ML files (LUMEX)\n\n"
                          "  Orvex [-F <FILE>] [-%1 <PATH>] [-CXPXSD <FILE>] [-CLXSD <FILE>] [-H]\n\n"
                          "  Open the <FILE> automatically at startup.\n"
                          "      -F <FILE>\n"
                          "  Override the system %1 path.\n"
                          "      -%1 <PATH>\n"
                          "  Use the specified Schema file for CoaXPress LUMEX files.\n"
                          "      -CXPXSD <FILE>\n"
                          "  Use the specified Schema file for Camera Link LUMEX files.\n"
                          "      -CLXSD <FILE>\n"
                          "  Print this help screen and exit.\n"
                          "      -H, -HELP, -?\n\n"
                          "  Options are not case-sensitive, and \"/\" may stand for \"-\".\n")
        .arg(QLatin1String(configDirOption));
}

CommandLine::Outcome CommandLine::outcome() const
{
    if (!m_errorText.isEmpty())
        return Outcome::Error;
    return m_helpRequested ? Outcome::Help : Outcome::Proceed;
}

QString* CommandLine::valueSlot(const QString& a_option, Mode a_mode)
{
    if (a_option == QLatin1String(configDirOption))
        return &m_configDir;
    if (a_option == QLatin1String(cxpXsdOption))
        return &m_cxpXsdPath;
    if (a_option == QLatin1String(clXsdOption))
        return &m_clXsdPath;
    if (a_mode == Mode::Editor && a_option == QLatin1String(fileOption))
        return &m_filePath;
    return nullptr;
}

} // namespace Orvex
