// The start of the library's own unwind information. This file comes first among the library's
// objects, so that the label stands before every frame description that the others contribute; the
// compiler's end file closes the list behind them.
	.section .eh_frame,"r"
	.p2align 2
	.globl _qmz_unwind_frames_begin
_qmz_unwind_frames_begin:
