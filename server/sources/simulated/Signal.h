#pragma once

#include "server/plant/Convert.h"
#include "server/sources/SourceVariable.h"

#include <random>
#include <vector>

/// A simulated variable, whose values follow a rule.
class Signal : public SourceVariable
{
public:
    std::optional<Variant> AtOnce(double seconds, VarType type) override { return Next(seconds, type); }

    /// The value at a scan, `seconds` after the server began; `type` is the item's type, without the array bit for the
    /// signal of an element.
    virtual Variant Next(double seconds, VarType type) = 0;
};

using SignalRef = std::unique_ptr<Signal>;

/// A numeric signal, fitted to the item's type.
class NumberSignal : public Signal
{
public:
    Variant Next(double seconds, VarType type) override { return ClampTo(NumberAt(seconds), type); }

protected:
    virtual double NumberAt(double seconds) = 0;
};

/// A constant.
class ConstantSignal : public Signal
{
public:
    explicit ConstantSignal(Variant value);
    Variant Next(double seconds, VarType type) override;

private:
    Variant m_Value;
};

/// Goes up by `step` at every scan and starts again at `first` after `last`. It begins `ahead` steps after `first`.
class CounterSignal : public NumberSignal
{
public:
    CounterSignal(double first, double last, double step, int ahead = 0);

protected:
    double NumberAt(double seconds) override;

private:
    double m_First;
    double m_Last;
    double m_Step;
    double m_Next;
};

/// What periodic signals have in common. `phase` is a fraction of the period, 0 to 1.
struct Wave
{
    double Low = 0.0;
    double High = 1.0;
    double Period = 10.0; ///< seconds, above 0
    double Phase = 0.0;
};

enum class WaveForm
{
    Ramp,
    Sine,
    Square
};

class PeriodicSignal : public NumberSignal
{
public:
    PeriodicSignal(WaveForm form, const Wave& wave);

protected:
    double NumberAt(double seconds) override;

private:
    WaveForm m_Form;
    Wave m_Wave;
};

/// Takes a random step up or down at every scan and turns back at its limits; the same seed gives the same sequence.
class RandomWalkSignal : public NumberSignal
{
public:
    RandomWalkSignal(double low, double high, double step, quint32 seed);

protected:
    double NumberAt(double seconds) override;

private:
    double m_Low;
    double m_High;
    std::mt19937 m_Random;
    std::uniform_real_distribution<double> m_Step;
    double m_Now;
};

/// The local time, for items of type DATE or texts.
class ClockSignal : public Signal
{
public:
    Variant Next(double seconds, VarType type) override;
};

/// The values of an array item: one signal for each element.
class ArraySignal : public Signal
{
public:
    explicit ArraySignal(std::vector<SignalRef> elements);
    Variant Next(double seconds, VarType type) override;

private:
    std::vector<SignalRef> m_Elements;
};
