// CHasard: the random-number object that sibling libraries obtain through pQueryProxy(6).
#pragma once

class IHasard {
public:
    virtual int AddRef() = 0;
    virtual int Release() = 0;
    virtual int nHasard(int nBorne1, int nBorne2) = 0;

protected:
    ~IHasard() = default;
};

class CHasard : public IHasard {
public:
    int AddRef() override { return ++m_nRef; }
    int Release() override;
    int nHasard(int nBorne1, int nBorne2) override { return s_nHasard(nBorne1, nBorne2); }
    virtual ~CHasard() = default;

    // A number from the smaller to the larger bound, both included.
    static int s_nHasard(int nBorne1, int nBorne2);

private:
    int m_nRef = 1;  // used by one thread: not atomic
};
