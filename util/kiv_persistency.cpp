// Stream persistency base.
#include "kiv_persistency.hpp"

KivClPersistencyABase::~KivClPersistencyABase() = default;
