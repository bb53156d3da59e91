/* The header as a C99 program sees it. */
#include "zelq.h"

int HeaderInC(void);

/* A negative size does not compile. */
typedef char ServoStatusHas116Bytes[sizeof(ServoStatus) == 116 ? 1 : -1];
typedef char ControllerStatusHas8168Bytes[sizeof(ControllerStatus) == 8168 ? 1 : -1];
typedef char SpeedProfileHas36Bytes[sizeof(SpeedProfile) == 36 ? 1 : -1];
typedef char TorqueLimitStatusHas24Bytes[sizeof(TorqueLimitStatus) == 24 ? 1 : -1];
typedef char SlavePropertyHas20Bytes[sizeof(SlaveProperty) == 20 ? 1 : -1];

int HeaderInC(void)
{
    ControllerStatus status;
    const short refused = zelQ_GetAllStatus(0, &status);
    return refused == ZELQ_BAD_CONTROLLER_NUMBER &&
           zelQ_SpeedEqualStartAndStopSet(2) == ZELQ_BAD_ARGUMENT(0);
}
