# tavrel_layer(NAME
#     SOURCES file...           compiled into the layer
#     HEADERS file...           headers that other layers include as <NAME/file>
#     PRIVATE_HEADERS file...   headers that only the layer itself includes, as "file"
#     PUBLIC_HEADERS file...    headers of include/tavrel, included as <tavrel/file>
#     USES target...)           the layers and libraries it may see
#
# A layer is an object library that ends up in the one shared library. Its headers are reached through a folder of
# forwarding headers of its own, so a file that includes a header of a layer it does not use does not compile.
function(tavrel_layer name)
    cmake_parse_arguments(LAYER "" "" "SOURCES;HEADERS;PRIVATE_HEADERS;PUBLIC_HEADERS;USES" ${ARGN})
    set(view "${PROJECT_BINARY_DIR}/layers/${name}")
    set(headers ${LAYER_PRIVATE_HEADERS})
    foreach(header IN LISTS LAYER_HEADERS)
        set(real "${CMAKE_CURRENT_SOURCE_DIR}/${header}")
        file(GENERATE OUTPUT "${view}/${name}/${header}" CONTENT "#include \"${real}\"\n")
        list(APPEND headers "${real}")
    endforeach()
    foreach(header IN LISTS LAYER_PUBLIC_HEADERS)
        set(real "${PROJECT_SOURCE_DIR}/include/tavrel/${header}")
        file(GENERATE OUTPUT "${view}/tavrel/${header}" CONTENT "#include \"${real}\"\n")
        list(APPEND headers "${real}")
    endforeach()

    set(target tavrel_${name})
    add_library(${target} OBJECT ${LAYER_SOURCES} ${headers})
    set_target_properties(${target} PROPERTIES
        AUTOMOC ON
        POSITION_INDEPENDENT_CODE ON
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON)
    target_compile_definitions(${target} PRIVATE tavrel_EXPORTS)
    target_include_directories(${target} PUBLIC "${view}" "${PROJECT_BINARY_DIR}/exports")
    target_link_libraries(${target} PUBLIC ${LAYER_USES} PRIVATE tavrel_compile_options)
    target_sources(tavrel PRIVATE $<TARGET_OBJECTS:${target}>)
    set_property(GLOBAL APPEND PROPERTY TAVREL_LAYERS ${target})
    set_property(TARGET tavrel APPEND PROPERTY TAVREL_PUBLIC_HEADERS ${LAYER_PUBLIC_HEADERS})
    set_property(TARGET tavrel PROPERTY TAVREL_HEADERS_${name} ${LAYER_HEADERS})
endfunction()
