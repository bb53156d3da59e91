/* Prints the reference page of all results that zelq_errors.h explains; with "--look-up" it reads
 * lines "FUNCTION RESULT" ("-" for any function) and prints the name that each result has. */
#include "zelq_errors.h"

#include <stdio.h>
#include <stdlib.h>

static void PrintRow(const ZelqError* row)
{
    if (row->first == row->last) {
        printf("## %d `%s`\n\n", row->first, row->name);
    } else {
        printf("## %d to %d `%s`\n\n", row->first, row->last, row->name);
    }
    if (row->function != NULL) printf("Of `%s` only. ", row->function);
    printf("%s\n\n- Likely causes: %s\n- What to do: %s\n\n", row->text, row->causes, row->remedy);
}

static void PrintPage(void)
{
    const ZelqError* row = NULL;
    size_t index = 0;
    int shown = 0;
    puts("# What results mean\n\n"
         "Made by `script/docs` from `zelq_errors.h`, which has the same texts for programs; "
         "`zelq explain -7`\nshows them on the command line. Results above 0 are the controller's: "
         "each controller has its own, and\nthose below, whose names begin with `SIM_`, are the "
         "simulated controller's.\n");
    while ((row = ZelqErrorAt(index++)) != NULL) {
        PrintRow(row);
        ++shown;
    }
    printf("%d results.\n", shown);
}

static void LookUp(void)
{
    char function[64];
    char result[16];
    while (scanf("%63s %15s", function, result) == 2) {
        const ZelqError* row =
            ZelqErrorFind(strcmp(function, "-") == 0 ? NULL : function, atoi(result));
        puts(row != NULL ? row->name : "-");
    }
}

int main(int argc, char** argv)
{
    if (argc > 1 && strcmp(argv[1], "--look-up") == 0) {
        LookUp();
    } else {
        PrintPage();
    }
    return 0;
}
