#pragma once

#include "server/sources/modbus/Line.h"
#include "server/sources/Source.h"

#include <QHash>

class ModbusVariable;

/// A unit of a Modbus line as a source: what is asked of it goes to the line's threads, and what they tell comes back
/// over the loop.
class ModbusDevice : public Source
{
public:
    ModbusDevice(QString protocol, UnitSettings settings, std::shared_ptr<Line> line);
    ~ModbusDevice() override;

    void Start(Loop& loop) override;
    SourceVariableRef Bind(const VariableText& text) override;
    void Read(std::vector<SourceVariable*> variables, std::function<void()> done) override;
    void Write(SourceVariable& variable, const Variant& value, Written written) override;
    std::optional<Load> LoadOf(const std::vector<SourceVariable*>& variables) const override;
    QString Describe() const override;

protected:
    void NoteUsers() override;

private:
    friend class ModbusVariable;
    class Outlet;

    ModbusDevice& Other(const QString& unit);
    ReadGroupRef GroupOf(std::vector<SourceVariable*> variables);
    void Forget(const ModbusVariable& variable);
    void Take(const ReadResults& results);
    void EndWrite(quint64 number, const QString& failure);

    const QString m_Protocol;
    const std::shared_ptr<Line> m_Line;
    const std::shared_ptr<Outlet> m_Outlet;
    const UnitRef m_Unit;
    Loop* m_Loop = nullptr; ///< once it has started
    /// Other units of the line, which items have asked for by their numbers; with the same settings.
    std::vector<std::unique_ptr<ModbusDevice>> m_Others;
    std::vector<ModbusVariable*> m_Variables; ///< by number; null once they are given up
    /// Of the last readings; as a rule the same ones come again.
    struct KnownGroup
    {
        std::vector<SourceVariable*> Variables;
        ReadGroupRef Group;
    };
    std::vector<KnownGroup> m_Groups;
    quint64 m_LastNumber = 0;
    QHash<quint64, std::function<void()>> m_Reading;
    QHash<quint64, Written> m_Writing;
};

/// A variable of a unit.
class ModbusVariable : public SourceVariable
{
public:
    ModbusVariable(ModbusDevice& device, quint32 number, const Form& form);
    ~ModbusVariable() override;

    Source* Owner() const override { return &m_Device; }
    quint32 Number() const { return m_Number; }
    const Form& Where() const { return m_Form; }

private:
    ModbusDevice& m_Device;
    const quint32 m_Number;
    const Form m_Form;
};
