// Stands in front of every file of the build that script/mutate makes.
#ifdef __cplusplus
#include <cstdlib>

inline bool FaultIsOn(int wanted)
{
    static const int number = [] {
        const char* text = std::getenv("ZELQ_FAULT");
        return text != nullptr ? std::atoi(text) : 0;
    }();
    return number == wanted;
}
#endif
