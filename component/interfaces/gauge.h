// The machine's progress gauge, handed to long operations such as cutting and joining files. The
// operation sets the range once and then moves the position; a null gauge means no report.
#pragma once

class IJaugeExec {
public:
    virtual void InitJauge(int nMin, int nMax) = 0;
    virtual void MajJauge(int nPosition) = 0;

protected:
    ~IJaugeExec() = default;
};
