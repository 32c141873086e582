#pragma once

#include <QComboBox>

/// A drop-down list with a click rule. Filling it selects nothing and runs no rule. Selecting from code runs the rule
/// every time, also for the entry already selected, and so does every choice by the operator.
class ListBox : public QComboBox
{
    Q_OBJECT

public:
    explicit ListBox(QWidget* parent = nullptr);

    void AddItem(const QString& text, qint32 itemData = 0);
    void AddItems(const QStringList& texts);
    /// Runs no rule; when the selected entry goes, nothing is selected. Throws ValueError outside the list.
    void RemoveItem(int index);
    /// Runs no rule.
    void Clear();
    int ListCount() const { return count(); }
    QString List(int index) const { return itemText(index); }
    /// 0 for an entry without data.
    qint32 ItemData(int index) const;

    /// -1 when nothing is selected.
    int ListIndex() const { return currentIndex(); }
    /// Selects an entry (-1: none) and runs the rule. Throws ValueError outside the list.
    void SetListIndex(int index);

    /// Room for the longest entry, whichever is selected.
    QSize minimumSizeHint() const override;

Q_SIGNALS:
    /// The click rule.
    void Click();

protected:
    bool event(QEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    void LetNameBeSpoken();
};
