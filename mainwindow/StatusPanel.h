#pragma once

#include <QIcon>
#include <QLabel>

/// One panel of the status bar: plain text, shortened to the room it has (the tool tip says it all), with an image in front.
class StatusPanel : public QLabel
{
    Q_OBJECT

public:
    explicit StatusPanel(QWidget* parent = nullptr);

    void SetImage(const QIcon& image);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    /// Where the text goes, beside the image.
    QRect TextPlace() const;
    QString ShownText() const;

    QIcon m_Image;
};
