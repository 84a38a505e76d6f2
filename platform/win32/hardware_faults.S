/* The way back to a fault registration: what no compiler can express. */
#include "platform/win32/fault_layout.h"

	.text

/* void QmzReturnToFaultRegistration(Registration*): never returns here */
	.globl _QmzReturnToFaultRegistration
_QmzReturnToFaultRegistration:
	movl 4(%esp), %eax
return_to:
	movl %eax, %fs:0
	cld
	fnclex
	emms                        /* no x87 register in use, as a function expects */
	movl REGISTRATION_EBP(%eax), %ebp
	movl REGISTRATION_ESP(%eax), %esp
	movl REGISTRATION_EIP(%eax), %ecx
	jmp *%ecx

/* void QmzUnwindTo(Registration*, EXCEPTION_RECORD*): tells the registrations below that they
   end. RtlUnwind may change ebx, esi and edi. */
	.globl _QmzUnwindTo
_QmzUnwindTo:
	pushl %ebp
	movl %esp, %ebp
	pushl %ebx
	pushl %esi
	pushl %edi
	pushl $0
	pushl 12(%ebp)
	pushl $1f
	pushl 8(%ebp)
	call _RtlUnwind@16
1:	popl %edi
	popl %esi
	popl %ebx
	popl %ebp
	ret

/* void QmzInterruptUnwinding(KeptUnwinding*, Registration*): keeps the stack from here to the
   end that is stated and goes back to the registration; comes back when the unwinding goes on. */
	.globl _QmzInterruptUnwinding
_QmzInterruptUnwinding:
	movl 4(%esp), %eax
	movl 8(%esp), %edx
	movl %esp, KEPT_ESP(%eax)
	movl %ebx, KEPT_EBX(%eax)
	movl %esi, KEPT_ESI(%eax)
	movl %edi, KEPT_EDI(%eax)
	movl %ebp, KEPT_EBP(%eax)
	movl %fs:0, %ecx
	movl %ecx, KEPT_FIRST_REGISTRATION(%eax)
	movl KEPT_END(%eax), %ecx
	subl %esp, %ecx
	movl %ecx, KEPT_SIZE(%eax)
	movl %esp, %esi
	leal KEPT_BYTES(%eax), %edi
	cld
	rep movsb
	movl %edx, %eax
	jmp return_to

/* void QmzGoOnUnwinding(const KeptUnwinding*): never returns here, but from the call above. */
	.globl _QmzGoOnUnwinding
_QmzGoOnUnwinding:
	movl 4(%esp), %eax
	movl KEPT_ESP(%eax), %esp   /* below all that is put back */
	movl %esp, %edi
	leal KEPT_BYTES(%eax), %esi
	movl KEPT_SIZE(%eax), %ecx
	cld
	rep movsb
	movl KEPT_FIRST_REGISTRATION(%eax), %ecx
	movl %ecx, %fs:0
	movl KEPT_EBX(%eax), %ebx
	movl KEPT_ESI(%eax), %esi
	movl KEPT_EDI(%eax), %edi
	movl KEPT_EBP(%eax), %ebp
	ret
