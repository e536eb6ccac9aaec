# The framework's modules, compiled once into one static library, ld_juce, that everything else links.

if(NOT EXISTS "${LD_JUCE_DIR}/CMakeLists.txt")
    message(FATAL_ERROR "LD_JUCE_DIR must name the source folder of JUCE 8; scripts/run finds or fetches it.")
endif()

set(JUCE_MODULES_ONLY ON)
add_subdirectory("${LD_JUCE_DIR}" "${CMAKE_BINARY_DIR}/juce" EXCLUDE_FROM_ALL SYSTEM)

find_package(PkgConfig REQUIRED)
pkg_check_modules(FFTW3F REQUIRED IMPORTED_TARGET fftw3f)

set(LD_JUCE_MODULES
    juce::juce_core juce::juce_events juce::juce_data_structures juce::juce_graphics
    juce::juce_gui_basics juce::juce_gui_extra
    juce::juce_audio_basics juce::juce_audio_devices juce::juce_audio_utils juce::juce_dsp)
if(APPLE OR WIN32)
    list(APPEND LD_JUCE_MODULES juce::juce_video)
endif()

add_library(ld_juce STATIC)
target_link_libraries(ld_juce PRIVATE ${LD_JUCE_MODULES} PUBLIC PkgConfig::FFTW3F)
# Debug builds would greet with the framework's version on the error stream, in the middle of a program's own words.
set_source_files_properties("${LD_JUCE_DIR}/modules/juce_core/juce_core.cpp"
    PROPERTIES COMPILE_DEFINITIONS JUCE_DISABLE_JUCE_VERSION_PRINTING=1)

# An empty MemoryBlock that is assigned copies no bytes from nowhere to nowhere, which harms nobody.
if(LD_SANITIZE MATCHES "undefined")
    set_source_files_properties("${LD_JUCE_DIR}/modules/juce_core/juce_core.cpp"
        PROPERTIES COMPILE_OPTIONS -fno-sanitize=nonnull-attribute)
endif()

# A distribution's copy comes without the libraries that upstream bundles and uses the system's instead.
if(NOT EXISTS "${LD_JUCE_DIR}/modules/juce_graphics/image_formats/pnglib/png.h")
    find_package(PNG REQUIRED)
    find_package(JPEG REQUIRED)
    find_package(ZLIB REQUIRED)
    target_link_libraries(ld_juce PRIVATE PNG::PNG JPEG::JPEG ZLIB::ZLIB)
endif()

target_compile_definitions(ld_juce
    PUBLIC
        JUCE_GLOBAL_MODULE_SETTINGS_INCLUDED=1
        JUCE_STANDALONE_APPLICATION=1
        JUCE_DSP_USE_STATIC_FFTW=1
        JUCE_JACK=1
        JUCE_USE_FLAC=0
        JUCE_USE_OGGVORBIS=0
        JUCE_WEB_BROWSER=0
        JUCE_USE_CURL=0
        JUCE_STRICT_REFCOUNTEDPOINTER=1
        JUCE_APPLICATION_NAME_STRING="Lodestrand"
        JUCE_APPLICATION_VERSION_STRING="${PROJECT_VERSION}"
        $<IF:$<CONFIG:Debug>,DEBUG=1,NDEBUG=1>
    INTERFACE
        $<TARGET_PROPERTY:ld_juce,COMPILE_DEFINITIONS>)
target_include_directories(ld_juce SYSTEM INTERFACE $<TARGET_PROPERTY:ld_juce,INCLUDE_DIRECTORIES>)
target_compile_options(ld_juce PRIVATE $<$<CXX_COMPILER_ID:GNU,Clang>:-w>)
