#pragma once

#include <QObject>

class DragBar;
class QMdiArea;
class QWidget;

/// Places tree, log and child windows in the main window's frame, with the drag bars between them.
class PanesLayout : public QObject
{
    Q_OBJECT

public:
    struct Panes
    {
        QWidget* Frame;
        QWidget* ObjectLabel;
        QWidget* Tree;
        DragBar* VBar;
        QMdiArea* Children;
        DragBar* HBar;
        QWidget* LogLabel;
        QWidget* Log;
    };
    explicit PanesLayout(const Panes& panes);

    /// Lays out the frame again for its current size.
    void Place();
    /// Shows or hides a pane with its label and its bar; the others take the room.
    void ShowObjectPane(bool show);
    void ShowLogPane(bool show);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void picVBar_MouseMove(const QPoint& position);
    void picHBar_MouseMove(const QPoint& position);
    /// Returns the room that is left above the log.
    int PlaceLog();
    void PlaceAboveLog(int height);

    int TwipsToPixels(int twips) const;
    int PixelsToTwips(int pixels) const;
    int LabelHeight() const;

    Panes m_Panes;
    int m_TreeWidth;
    int m_LogHeight;
};
