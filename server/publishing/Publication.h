#pragma once

#include "server/plant/ItemFollower.h"
#include "server/publishing/OutgoingValues.h"
#include "server/sources/MessageOutlet.h"
#include "server/sources/Source.h"
#include "server/worker/Worker.h"

#include <QRegularExpression>

#include <optional>

/// Which items' changes go out, where to and how.
struct PublicationSettings
{
    SourceRef Device;
    MessageOutlet* Outlet = nullptr;           ///< the device once more
    QString Topic;                             ///< with {controller} and {item}
    QStringList Items = {QStringLiteral("*")}; ///< "<controller>\<item>", where "*" stands for any characters
    int Qos = 1;
    bool Retains = false;
    std::size_t MostInMemory = 100'000;
    std::optional<SpoolSettings> OnDisk; ///< none: values wait in memory
};

/// Sends the changes of items to others as JSON, in order and from a thread of its own. While the device is away they
/// wait.
class Publication : public ItemFollower, private SourceUser
{
public:
    explicit Publication(PublicationSettings settings);
    Publication(const Publication&) = delete;
    Publication& operator=(const Publication&) = delete;
    /// What cannot be sent within seconds waits on disk for the next server, or is lost.
    ~Publication();

    void Start() override;
    bool Follows(const PlantItem& item) override;
    void NoteChange(const PlantItem& item) override;

private:
    class Sender;

    void NoteReachable(bool) override {}

    const PublicationSettings m_Settings;
    const QList<QRegularExpression> m_Items;
    OutgoingValuesRef m_Values; ///< null before Start
    std::optional<Worker> m_Sender;
};
