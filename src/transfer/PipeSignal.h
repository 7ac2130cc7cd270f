#pragma once

/**
 * Keeps a write to a broken connection from ending the process, for as long as this object lives: it blocks SIGPIPE on
 * the calling thread and drops a signal that came meanwhile. Where there is no such signal it does nothing.
 */
class PipeSignal
{
public:
    PipeSignal();
    ~PipeSignal();

    PipeSignal(const PipeSignal&) = delete;
    PipeSignal& operator=(const PipeSignal&) = delete;

private:
    bool mIsBlocked = false; ///< by this object
};
