#include "remote/Streams.h"

#include "remote/Stream.h"

Streams::Streams(FramePipe& pipe)
    : m_Pipe(pipe)
{
}

Streams::~Streams()
{
    qDeleteAll(m_Streams);
}

void Streams::Add(quint32 number, int socket)
{
    auto* stream = new Stream(m_Pipe, number, Descriptor(socket), Window);
    m_Streams.insert(number, stream);
    connect(stream, &Stream::Ended, this, [this, number] { Remove(number); });
}

void Streams::Handle(const Frame& frame)
{
    // What is still on its way to a stream that has ended here is of no interest.
    Stream* stream = m_Streams.value(frame.Stream);
    if (!stream) return;
    switch (frame.Type) {
    case FrameType::Data: return stream->Take(frame.Payload);
    case FrameType::Credit: return stream->AddCredit(Frame::Number(frame.Payload));
    case FrameType::Close: return stream->EndWhenWritten();
    default: return;
    }
}

/// The stream may be in the midst of a function of its own.
void Streams::Remove(quint32 number)
{
    if (Stream* stream = m_Streams.take(number)) stream->deleteLater();
}
