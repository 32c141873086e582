#pragma once

#include <QTextBrowser>

/// Shows pages of one folder and nothing else: neither other files nor the network. Colours follow the desktop's.
class PageView : public QTextBrowser
{
    Q_OBJECT

public:
    explicit PageView(QWidget* parent = nullptr);

    void SetFolder(const QString& folder) { m_Folder = folder; }
    /// The page shown, as its way below the folder; empty before the first one.
    QString Page() const;
    /// Shows a page of the folder, or says that it is not there.
    void ShowPage(const QString& page);

    QVariant loadResource(int type, const QUrl& name) override;

Q_SIGNALS:
    /// A link that leads out of the folder was chosen; it is not followed.
    void Refused(const QUrl& link);

protected:
    void doSetSource(const QUrl& name, QTextDocument::ResourceType type) override;
    void changeEvent(QEvent* event) override;

private:
    bool IsInFolder(const QUrl& name) const;

    QString m_Folder;
};
