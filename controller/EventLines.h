#pragma once

#include <QAbstractListModel>

/// The lines of an event log, stored as cheaply as possible: one text, and where each line ends in it. New lines become
/// rows only when they are announced, so that a storm of them costs the view one change.
class EventLines : public QAbstractListModel
{
    Q_OBJECT

public:
    using QAbstractListModel::QAbstractListModel;

    /// Strong guarantee.
    void Append(const QString& line);
    /// Makes rows of the lines appended since the last announcement.
    void Announce();
    /// Releases the memory, too.
    void Clear();

    /// All lines, announced or not.
    qsizetype Count() const { return m_Ends.size(); }
    qsizetype Characters() const { return m_Text.size(); }
    QString Line(qsizetype index) const;
    /// All of them, with LF between them.
    QString Text() const;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;

private:
    QString m_Text;
    QList<qsizetype> m_Ends;
    int m_Rows = 0;
};
