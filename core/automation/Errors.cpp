#include "core/automation/Errors.h"

#include <new>
#include <system_error>

DescribedError::DescribedError(const QString& description)
    : std::runtime_error(description.toStdString())
    , m_Description(description)
{
}

ValueError ValueError::TypeMismatch()
{
    return ValueError(QStringLiteral("Type mismatch"));
}

ValueError ValueError::Overflow()
{
    return ValueError(QStringLiteral("Overflow"));
}

ValueError ValueError::SubscriptOutOfRange()
{
    return ValueError(QStringLiteral("Subscript out of range"));
}

ValueError ValueError::InvalidCall(const QString& what)
{
    const QString text = QStringLiteral("Invalid procedure call or argument");
    return ValueError(what.isEmpty() ? text : text + QStringLiteral(": ") + what);
}

QString CurrentErrorDescription()
{
    try {
        throw;
    } catch (const DescribedError& error) {
        return error.Description();
    } catch (const std::bad_alloc&) {
        return QStringLiteral("Out of memory");
    } catch (const std::system_error& error) { // of threads; everything else that the system refuses is described
        return QStringLiteral("No further thread can be started: %1").arg(QString::fromUtf8(error.what()));
    } catch (const std::exception& error) {
        return QString::fromUtf8(error.what());
    } catch (...) {
        return QStringLiteral("Unknown error");
    }
}
