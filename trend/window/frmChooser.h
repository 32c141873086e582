#pragma once

#include "trend/data/FeedThread.h"
#include "trend/data/ItemListFeed.h"
#include "trend/window/ItemListModel.h"
#include "ui_frmChooser.h"

#include <QDialog>

/// Lets the operator find items of the server and add them to a trend, as often as he likes.
class frmChooser : public QDialog, private Ui::frmChooser
{
    Q_OBJECT

public:
    frmChooser(const MakeLibrary& make, QWidget* parent);

Q_SIGNALS:
    void Chosen(const QStringList& items);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void cmdAdd_Click();
    void SayCount();

    ItemListModel m_Items;
    QString m_Trouble;
    bool m_IsComplete = false;
    FeedThread<ItemListFeed> m_Feed;
};
