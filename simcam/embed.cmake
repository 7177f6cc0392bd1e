# Writes OUTPUT, a C++ source that holds the bytes of INPUT as simcam::builtInDescription().
#   cmake -DINPUT=description.xml -DOUTPUT=built_in.cpp -P embed.cmake
file(READ "${INPUT}" hex HEX)
string(REGEX REPLACE "(................................)" "\\1\n" hex "${hex}")
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
file(WRITE "${OUTPUT}" "#include \"simcam/Description.h\"

namespace {

constexpr unsigned char kText[] = {
${bytes}
};

} // namespace

simcam::ByteView simcam::builtInDescription() {
    return kText;
}
")
