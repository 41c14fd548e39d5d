; quarv repl --rules-only-standard --no-rules
; Reads of constant arrays, chains of writes, equality of array values.
(define-sort A () (Array Int Int))
(define-sort B () (Array (_ BitVec 1) (_ BitVec 1)))
(define-fun a0 () A ((as const A) 0))
(define-fun a1 () A ((as const A) 1))
(define-fun b0 () B ((as const B) #b0))
(define-fun b1 () B ((as const B) #b1))
(declare-const a A)
(declare-const i Int)
(declare-const j Int)
(declare-const v Int)
(declare-const w Int)
(simplify (select ((as const A) v) i))
; => v
(simplify (select (store a i v) i))
; => (select (store a i v) i)
(simplify (select a (+ i 1 1)))
; => (select a (+ i 2))
(simplify (store (store a i v) i v))
; => (store a i v)
(simplify (store (store a i w) i v))
; => (store a i v)
(simplify (store (store (store a i v) i w) i 3))
; => (store a i 3)
(simplify (store ((as const A) v) i v))
; => ((as const (Array Int Int)) v)
(simplify (store ((as const A) v) i w))
; => (store ((as const (Array Int Int)) v) i w)
(simplify (store a i (select a i)))
; => a
(simplify (store (store a i (select a i)) i v))
; => (store a i v)
(simplify (store (store a j w) i v))
; => (store (store a j w) i v)
(simplify (store (store a (+ j 1 1) w) (+ 1 i 1) (+ v 1 1)))
; => (store (store a (+ j 2) w) (+ i 2) (+ v 2))
(simplify (store (store (store a i v) j w) i v))
; => (store (store (store a i v) j w) i v)
(simplify (= a a))
; => true
(simplify (= a0 a0))
; => true
(simplify (= a0 a1))
; => false
(simplify (= ((as const A) v) ((as const A) w)))
; => (= v w)
(simplify (= a0 (store a0 i 1)))
; => (= ((as const (Array Int Int)) 0) (store ((as const (Array Int Int)) 0) i 1))
(simplify (= (store a0 1 1) (store a1 0 0)))
; => false
(simplify (= (store a0 1 1) (store a0 1 2)))
; => false
(simplify (= (store a0 1 1) (store a0 2 1)))
; => false
(simplify (= (store (store a0 1 1) 2 2) (store (store a0 2 2) 1 1)))
; => true
(simplify (= (store (store a0 1 1) 1 0) a0))
; => true
(simplify (= (store (store (store a0 1 1) 2 2) 1 3) (store (store a0 1 3) 2 2)))
; => true
(simplify (= (store (store (store a0 1 1) 2 2) 1 0) (store a0 2 2)))
; => true
(simplify (= (store (store b0 #b0 #b1) #b1 #b1) b1))
; => true
(simplify (= (store b0 #b0 #b1) (store b1 #b1 #b0)))
; => true
(simplify (= (store b0 #b0 #b1) (store b1 #b0 #b0)))
; => false
(declare-sort U 0)
(declare-const @m U)
(declare-const @n U)
(define-sort C () (Array Int U))
(simplify (= ((as const C) @m) ((as const C) @m)))
; => true
(simplify (= (store ((as const C) @m) 0 @n) ((as const C) @n)))
; => (= (store ((as const (Array Int U)) @m) 0 @n) ((as const (Array Int U)) @n))
(simplify (= (store ((as const C) @m) 0 @n) (store ((as const C) @m) 0 @n)))
; => true
(define-sort D () (Array Int A))
(simplify (= ((as const D) a0) ((as const D) a1)))
; => false
(simplify (= (store ((as const D) a0) 3 a1) (store ((as const D) a0) 3 (store a1 5 1))))
; => true
(simplify (= (store ((as const D) a0) 3 (store a0 1 1)) (store ((as const D) a0) 3 (store a1 1 0))))
; => false
