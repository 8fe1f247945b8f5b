// A shared library without Qt's plug-in entry points.

extern "C" int zeltNotAPlugin()
{
    return 42;
}
