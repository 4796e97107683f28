// Not part of any program: the analysis must refuse it.
#include "base/lock.h"

class Guarded {
 public:
  int Read() { return m_value; }

 private:
  qv::CriticalSection m_lock;
  int m_value QV_GUARDED_BY(m_lock) = 0;
};

int ReadWithoutTheLock() { return Guarded().Read(); }
