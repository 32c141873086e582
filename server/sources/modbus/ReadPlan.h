#pragma once

#include "server/sources/modbus/Form.h"

/// Neighbouring registers of one table, which one request may read.
struct Span
{
    Area Place = Area::Holding;
    qint32 First = 0;
    qint32 Count = 0;

    qint32 End() const { return First + Count; }
    bool Contains(const Span& other) const
    {
        return Place == other.Place && First <= other.First && End() >= other.End();
    }
    bool operator==(const Span&) const = default;
};

/// What a unit takes in one request.
struct ReadLimits
{
    qint32 Registers = 125;
    qint32 Bits = 2000;
    qint32 Gap = 16; ///< registers or bits that nobody wants and that are read to save a request

    qint32 Most(Area area) const { return IsBits(area) ? Bits : Registers; }
};

/// A part of a variable that is not read apart: an element of a long array, else all of it.
struct Piece
{
    Span Where;
    quint32 Variable = 0; ///< its place in the list
};

/// One request, and what it is for.
struct ReadBlock
{
    Span Where;
    std::vector<Piece> Pieces; ///< in the order of their registers
};

struct ReadPlan
{
    std::vector<ReadBlock> Blocks;
    /// Variables that hold something the unit refuses, and which of the refused spans that is.
    struct Refused
    {
        quint32 Variable;
        std::size_t Refusal;
    };
    std::vector<Refused> Unread;
};

/// The fewest requests that read all variables, as far as gaps and limits allow. The unit is known to refuse each
/// request that holds one of the spans `refused` whole.
ReadPlan PlanReading(std::span<const Form> variables, const ReadLimits& limits, std::span<const Span> refused);

/// Halves of a request that was refused, to find what is refused in it; empty when it cannot be halved.
std::vector<ReadBlock> Halved(const ReadBlock& block);
