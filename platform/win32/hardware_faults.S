/* The two ends of a fault registration, and the way back to it: what no compiler can express. The
   layout is FaultRegistration's: previous, handler, ebx esi edi ebp esp eip, code, cut_back_to,
   unwinding. */

	.text

/* int QmzEnterFaultRegistration(FaultRegistration*), int QmzEnterCallOut(FaultRegistration*) */
	.macro enter handler
	movl 4(%esp), %eax
	movl $\handler, 4(%eax)
	movl %ebx, 8(%eax)
	movl %esi, 12(%eax)
	movl %edi, 16(%eax)
	movl %ebp, 20(%eax)
	leal 4(%esp), %ecx          /* the stack as it is after the return */
	movl %ecx, 24(%eax)
	movl (%esp), %ecx
	movl %ecx, 28(%eax)
	xorl %ecx, %ecx             /* nothing has led back yet */
	movl %ecx, 32(%eax)
	movl %ecx, 36(%eax)
	movl %ecx, 40(%eax)
	movl %fs:0, %ecx
	movl %ecx, (%eax)
	movl %eax, %fs:0
	xorl %eax, %eax
	ret
	.endm

	.globl _QmzEnterFaultRegistration
_QmzEnterFaultRegistration:
	enter _QmzFaultHandler

	.globl _QmzEnterCallOut
_QmzEnterCallOut:
	enter _QmzCallOutHandler

/* void QmzLeaveFaultRegistration(FaultRegistration*) */
	.globl _QmzLeaveFaultRegistration
_QmzLeaveFaultRegistration:
	movl 4(%esp), %eax
	movl (%eax), %ecx
	movl %ecx, %fs:0
	ret

/* void QmzReturnToFaultRegistration(FaultRegistration*): never returns here */
	.globl _QmzReturnToFaultRegistration
_QmzReturnToFaultRegistration:
	movl 4(%esp), %eax
return_to:
	movl %eax, %fs:0
	cld
	fnclex
	emms                        /* no x87 register in use, as a function expects */
	movl 8(%eax), %ebx
	movl 12(%eax), %esi
	movl 16(%eax), %edi
	movl 20(%eax), %ebp
	movl 24(%eax), %esp
	movl 28(%eax), %ecx
	movl $1, %eax
	jmp *%ecx

/* void QmzUnwindTo(FaultRegistration*, EXCEPTION_RECORD*): tells the registrations below that they
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

/* The layout of KeptUnwinding: esp ebx esi edi ebp fs:0, end of the stack to keep, number of bytes,
   bytes. */

/* void QmzInterruptUnwinding(KeptUnwinding*, FaultRegistration*): keeps the stack from here to the
   end that is stated and goes back to the registration; comes back when the unwinding goes on. */
	.globl _QmzInterruptUnwinding
_QmzInterruptUnwinding:
	movl 4(%esp), %eax
	movl 8(%esp), %edx
	movl %esp, (%eax)
	movl %ebx, 4(%eax)
	movl %esi, 8(%eax)
	movl %edi, 12(%eax)
	movl %ebp, 16(%eax)
	movl %fs:0, %ecx
	movl %ecx, 20(%eax)
	movl 24(%eax), %ecx
	subl %esp, %ecx
	movl %ecx, 28(%eax)
	movl %esp, %esi
	leal 32(%eax), %edi
	cld
	rep movsb
	movl %edx, %eax
	jmp return_to

/* void QmzGoOnUnwinding(const KeptUnwinding*): never returns here, but from the call above. */
	.globl _QmzGoOnUnwinding
_QmzGoOnUnwinding:
	movl 4(%esp), %eax
	movl (%eax), %esp           /* below all that is put back */
	movl %esp, %edi
	leal 32(%eax), %esi
	movl 28(%eax), %ecx
	cld
	rep movsb
	movl 20(%eax), %ecx
	movl %ecx, %fs:0
	movl 4(%eax), %ebx
	movl 8(%eax), %esi
	movl 12(%eax), %edi
	movl 16(%eax), %ebp
	ret
