"""The examples of all functions as one program, run against the simulated controller."""

import subprocess
import sys

HEAD = """#include <stdio.h>
#include <string.h>
#include <time.h>
#include <zelq_errors.h>

#define AXES 4
static const short press = 3;
static const int port = 5020;

/* As the manual promises of each example: connected, nothing moves, servos on, at 0. */
static short TryBegin(void)
{
    const short all[AXES] = {0, 1, 2, 3};
    const unsigned short every[AXES] = {0, 1, 2, 3};
    const double zero[AXES] = {0};
    ControllerStatus status;
    short result = 0;
    int moving = 0;
    memset(&status, 0, sizeof status);
    zelQ_SetNetPortNum(press, port);
    result = zelQ_Connect(press, 127, 0, 0);
    if (!result) result = zelQ_TMOSet(press, 1000, 500, 500);
    for (unsigned short program = 0; program < 4; ++program) {
        (void)zelQ_SeqStop(press, program, 1);
        if (!result) result = zelQ_SeqSetCfg(press, program, 0, 0, 0);
    }
    if (!result) result = zelQ_SeqKillFocus(press);
    if (!result) result = zelQ_mStop(press, AXES, every, 0);
    do {
        if (!result) result = zelQ_GetAllStatus(press, &status);
        moving = 0;
        for (int i = 0; i < AXES; ++i) moving += status.servo[i].inMotion;
    } while (!result && moving);
    if (!result) result = zelQ_CP_PreRegUseSet(press, 0);
    if (!result) result = zelQ_mAlarmResetReq(press, AXES, every);
    if (!result) result = zelQ_mServoOn(press, AXES, all, 1);
    for (short i = 0; i < AXES; ++i) {
        if (!result) result = zelQ_UnitPerPulseSet(press, i, 0.001);
        if (!result) result = zelQ_SpeedSet(press, i, 0, 1, 200, 50, 200);
        if (!result) result = zelQ_StopModeSwLimit(press, (unsigned short)i, 0, 0, 0, 0);
    }
    if (!result) result = zelQ_mCmdEncPosSet(press, AXES, all, zero);
    return result;
}

/* A controller that restarts is away for a moment. */
static short Begin(void)
{
    const time_t begin = time(NULL);
    short result = 0;
    do {
        result = TryBegin();
    } while (result && time(NULL) - begin < 10);
    return result;
}

static int failed;

static void Tell(const char* name, short begun, short expected, short result)
{
    if (begun == 0 && result == expected) return;
    fprintf(stderr, "%s: %d, begun with %d\\n", name, result, begun);
    ++failed;
}

"""


def program(entries):
    parts = [HEAD]
    for entry in entries:
        example = "\n".join("    " + line for line in entry.example.split("\n"))
        before = f"    {entry.before}\n    if (result) return result;\n" if entry.before else ""
        parts.append(f"static short Example_{entry.name}(void)\n{{\n    short result = 0;\n{before}"
                     f"{example}\n    return result;\n}}\n\n")
    calls = "".join(f'    begun = Begin();\n    Tell("{entry.name}", begun, {entry.gives}, '
                    f"Example_{entry.name}());\n" for entry in entries)
    parts.append(f"int main(void)\n{{\n    short begun = 0;\n{calls}    return failed != 0;\n}}\n")
    return "".join(parts)


def run(root, description, desk):
    """What went wrong, as text."""
    sys.path.insert(0, str(root / "docs/site"))
    import reference_data  # pylint: disable=import-outside-toplevel,import-error

    reference = reference_data.Reference(description, root / "docs/reference")
    (desk.folder / "examples.c").write_text(desk.here(program(reference.entries.values())),
                                            encoding="utf-8")
    desk.type("gcc -std=c99 examples.c $(pkg-config --cflags --libs zelq) -o examples")
    desk.type("lumo-sim --number 3 --port 5020 --slaves 30:2,31:3 --ideal")
    done = subprocess.run(["./examples"], cwd=desk.folder, env=desk.variables, capture_output=True,
                          text=True, timeout=120, check=False)
    return done.stderr or ("" if done.returncode == 0 else f"ended with {done.returncode}")
