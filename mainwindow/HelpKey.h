#pragma once

#include <QObject>

class Guide;

/// F1 opens the guide at the page of the window that has the focus, modal dialogs and the script tool included.
class HelpKey : public QObject
{
    Q_OBJECT

public:
    HelpKey(QObject* parent, Guide& guide);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    Guide& m_Guide;
};
