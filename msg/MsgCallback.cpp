#include "msg/MsgCallback.h"

CMsgCallbackManager::CMsgCallbackManager(const CMsgCallbackManager& other)
    : m_default(other.m_default),
      m_pCurrent(other.m_pCurrent == &other.m_default ? &m_default : other.m_pCurrent) {}

CMsgCallbackManager& CMsgCallbackManager::operator=(const CMsgCallbackManager& other) {
  if (this != &other) {
    m_pCurrent = other.m_pCurrent == &other.m_default ? &m_default : other.m_pCurrent;
  }
  return *this;
}

CMsgCallback* CMsgCallbackManager::Register(CMsgCallback* sink) {
  CMsgCallback* previous = m_pCurrent;
  m_pCurrent = sink ? sink : &m_default;
  return previous == &m_default ? nullptr : previous;
}
