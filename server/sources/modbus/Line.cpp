#include "server/sources/modbus/Line.h"

#include "server/sources/modbus/Connection.h"

#include <map>

std::shared_ptr<Line> Line::At(const LineSettings& settings)
{
    static std::map<QString, std::weak_ptr<Line>> lines;
    std::weak_ptr<Line>& known = lines[settings.Place()];
    std::shared_ptr<Line> line = known.lock();
    if (!line) known = line = std::make_shared<Line>(settings);
    if (line->Settings() != settings)
        throw DescribedError(QStringLiteral("another device has other settings for the line %1").arg(settings.Place()));
    return line;
}

Line::Line(const LineSettings& settings)
    : m_Core(std::make_shared<Core>())
{
    m_Core->Settings = settings;
}

Line::~Line()
{
    for (Worker& worker : m_Workers) worker.RequestStop();
}

const LineSettings& Line::Settings() const
{
    return m_Core->Settings;
}

void Line::Add(const UnitRef& unit)
{
    With([&] { m_Core->Turns.Add(unit); });
}

void Line::Remove(const UnitRef& unit)
{
    With([&] { m_Core->Turns.Remove(unit); });
}

void Line::Start()
{
    if (!m_Workers.empty()) return;
    m_Workers.reserve(static_cast<std::size_t>(m_Core->Settings.Connections));
    for (int i = 0; i < m_Core->Settings.Connections; ++i)
        m_Workers.emplace_back([core = m_Core](const std::stop_token& stop) { Connection(core, stop).Run(); });
}
