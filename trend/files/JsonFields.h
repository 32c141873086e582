#pragma once

#include "trend/core/View.h"

#include <QJsonObject>
#include <QSet>

/// The fields of an object in a view file. Each is asked for once; what nobody asks for is refused at last, so that no
/// typing error goes unseen. Everything throws DescribedError, which begins with the object's place.
class JsonFields
{
public:
    /// `where`: "pen 3"; empty for the whole file.
    JsonFields(const QJsonValue& value, QString where);

    QString Text(const QString& key, const QString& otherwise);
    QString NeededText(const QString& key);
    bool Flag(const QString& key, bool otherwise);
    /// One of two words; whether it is the second one.
    bool IsSecond(const QString& key, const QString& first, const QString& second);
    quint32 Colour(const QString& key, quint32 otherwise);
    std::vector<double> Numbers(const QString& key, qsizetype most);
    std::optional<ValueRange> Range(const QString& key);
    std::vector<std::optional<Micros>> Moments(const QString& key, qsizetype most);
    Micros NeededMoment(const QString& key);
    QJsonValue Value(const QString& key);

    void RefuseUnknown() const;
    [[noreturn]] void Refuse(const QString& key, const QString& what) const;

private:
    QList<QJsonValue> List(const QString& key, qsizetype most);
    Micros MomentOf(const QString& key, const QJsonValue& value) const;

    QJsonObject m_Object;
    QString m_Where;
    QSet<QString> m_Asked;
};
