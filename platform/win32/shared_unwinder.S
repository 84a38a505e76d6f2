/* A call that ends where an exception of the client's run-time arrives. A handler of C++ would tell
   our own run-time of it, which would write into what the client's keeps of the exception. */

	.text

/* void* QmzRunUntilForeignException(void (*run)(void*), void* call): the exception, null: none */
	.globl _QmzRunUntilForeignException
_QmzRunUntilForeignException:
	.cfi_startproc
	.cfi_personality 0, _QmzForeignPersonality
	pushl %ebp
	.cfi_def_cfa_offset 8
	.cfi_offset 5, -8
	movl %esp, %ebp
	.cfi_def_cfa_register 5
	subl $24, %esp              /* aligned for the call */
	movl 12(%ebp), %eax
	movl %eax, (%esp)
	call *8(%ebp)
	xorl %eax, %eax
	.globl _QmzForeignArrival
_QmzForeignArrival:                 /* entered by the unwinder, the exception in eax */
	leave
	.cfi_restore 5
	.cfi_def_cfa 4, 4
	ret
	.cfi_endproc
