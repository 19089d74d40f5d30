// Brings the processor from the loader's 32-bit mode to 64-bit mode with the AVX-512 registers enabled, and calls
// the checks.

.set kMagic, 0x1BADB002
.set kFlags, 0

.section .multiboot, "a"
.align 4
.long kMagic
.long kFlags
.long -(kMagic + kFlags)

.section .text
.code32
.global Start
Start:
    mov $stackEnd, %esp
    // One page directory of 2 MiB pages maps the first GiB to itself.
    mov $pageDirectory, %edi
    mov $0x83, %eax
    mov $512, %ecx
1:  mov %eax, (%edi)
    movl $0, 4(%edi)
    add $0x200000, %eax
    add $8, %edi
    loop 1b
    mov $pageDirectory + 3, %eax
    mov %eax, pageDirectoryPointers
    mov $pageDirectoryPointers + 3, %eax
    mov %eax, pageMap
    mov $pageMap, %eax
    mov %eax, %cr3
    mov %cr4, %eax
    or $0x40620, %eax            // PAE, OSFXSR, OSXMMEXCPT, OSXSAVE
    mov %eax, %cr4
    mov $0xC0000080, %ecx        // EFER: long mode
    rdmsr
    or $0x100, %eax
    wrmsr
    mov %cr0, %eax
    and $~4, %eax                // no x87 emulation
    or $0x80000003, %eax         // paging, protection, monitor coprocessor
    mov %eax, %cr0
    lgdt descriptorPointer
    ljmp $8, $Long

.code64
Long:
    xor %eax, %eax
    mov %eax, %ds
    mov %eax, %es
    mov %eax, %ss
    mov %eax, %fs
    mov %eax, %gs
    xor %ecx, %ecx
    xgetbv
    or $0xE7, %eax               // x87, SSE, AVX, masks and both halves of the 512-bit registers
    xsetbv
    mov $stackEnd, %rsp
    call Check
    mov $0x8900, %dx             // the emulator ends when it reads this word here
    lea farewell(%rip), %rsi
    mov $8, %ecx
    rep outsb
2:  hlt
    jmp 2b

.section .rodata
farewell: .ascii "Shutdown"
.align 8
descriptors:
    .quad 0
    .quad 0x00209A0000000000
descriptorPointer:
    .word descriptorPointer - descriptors - 1
    .long descriptors

.section .bss, "aw", @nobits
.align 4096
pageMap: .skip 4096
pageDirectoryPointers: .skip 4096
pageDirectory: .skip 4096
.skip 65536 * 4
stackEnd:

.section .note.GNU-stack, "", @progbits
