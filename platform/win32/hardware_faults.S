/* The two ends of a fault registration, and the way back to it: what no compiler can express. The
   layout is FaultRegistration's: previous, handler, ebx esi edi ebp esp eip, code. */

	.text

/* int QmzEnterFaultRegistration(FaultRegistration*) */
	.globl _QmzEnterFaultRegistration
_QmzEnterFaultRegistration:
	movl 4(%esp), %eax
	movl $_QmzFaultHandler, 4(%eax)
	movl %ebx, 8(%eax)
	movl %esi, 12(%eax)
	movl %edi, 16(%eax)
	movl %ebp, 20(%eax)
	leal 4(%esp), %ecx          /* the stack as it is after the return */
	movl %ecx, 24(%eax)
	movl (%esp), %ecx
	movl %ecx, 28(%eax)
	movl $0, 32(%eax)           /* no fault yet */
	movl %fs:0, %ecx
	movl %ecx, (%eax)
	movl %eax, %fs:0
	xorl %eax, %eax
	ret

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
