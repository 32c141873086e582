#pragma once

#include "ui_frmGuide.h"

/// The guide's window where the desktop has no browser: a page, the ways back and forward, and a search.
class frmGuide : public QWidget, private Ui::frmGuide
{
    Q_OBJECT

public:
    /// `folder` holds the pages.
    explicit frmGuide(const QString& folder);

    /// Brings the window up, in front of a modal dialog too, with a page of the folder.
    void ShowPage(const QString& page);

private:
    void ConnectCommands();
    void ConnectKeys();
    void StandBeside(QWidget* dialog);

    void txtPage_SourceChanged();
    void txtPage_Highlighted(const QUrl& link);
    void txtPage_Refused(const QUrl& link);
};
