# efi_image(NAME DRIVER|APPLICATION sources...)
#
# Compiles the sources freestanding for UEFI (gnu-efi 3.0.15, ms_abi calls),
# links them with gnu-efi's crt0 and libraries into NAME.so, refuses an image
# with undefined symbols or relocations gnu-efi's self-relocation cannot
# apply, and converts it to the PE32+ image NAME.efi.
set(EFI_CXX_FLAGS
  -ffreestanding -fno-exceptions -fno-rtti -fno-threadsafe-statics -fno-use-cxa-atexit
  -fpic -fshort-wchar -mno-red-zone -maccumulate-outgoing-args
  -fno-stack-protector -fno-stack-check -fno-strict-aliasing -fno-merge-all-constants
  -fno-asynchronous-unwind-tables -fno-builtin-malloc -fno-builtin-free
  -fvisibility=hidden
  # The runtime's operator new hands out pool memory, which UEFI aligns to 8.
  -faligned-new=8)

function(efi_image NAME KIND)
  if(KIND STREQUAL "DRIVER")
    set(target efi-bsdrv-x86_64)
    set(subsystem 11)
  else()
    set(target efi-app-x86_64)
    set(subsystem 10)
  endif()
  add_library(${NAME}_efi_objects OBJECT ${ARGN})
  target_compile_options(${NAME}_efi_objects PRIVATE ${EFI_CXX_FLAGS})
  set_target_properties(${NAME}_efi_objects PROPERTIES POSITION_INDEPENDENT_CODE ON)
  set(so ${CMAKE_BINARY_DIR}/${NAME}.so)
  set(efi ${CMAKE_BINARY_DIR}/${NAME}.efi)
  add_custom_command(OUTPUT ${efi}
    COMMAND ld -nostdlib -znocombreloc -shared -Bsymbolic -L${GNU_EFI_LIBDIR}
            -T${GNU_EFI_LIBDIR}/elf_x86_64_efi.lds ${GNU_EFI_LIBDIR}/crt0-efi-x86_64.o
            $<TARGET_OBJECTS:${NAME}_efi_objects> -o ${so} ${LIBEFI} -lgnuefi
    COMMAND ${CMAKE_SOURCE_DIR}/cmake/check_efi_image.sh ${so}
    COMMAND objcopy -j .text -j .sdata -j .data -j .dynamic -j .dynsym -j .rel
            -j .rela -j .rel.* -j .rela.* -j .reloc
            --target ${target} --subsystem=${subsystem} ${so} ${efi}
    DEPENDS ${NAME}_efi_objects $<TARGET_OBJECTS:${NAME}_efi_objects>
            ${CMAKE_SOURCE_DIR}/cmake/check_efi_image.sh
    COMMAND_EXPAND_LISTS VERBATIM)
  add_custom_target(${NAME}_efi ALL DEPENDS ${efi})
endfunction()
