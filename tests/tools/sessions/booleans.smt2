; quarv repl --rules-only-standard --no-rules
; Connectives: absorption, idempotence, complements one negation deep, arguments in order of age.
(declare-const p Bool)
(declare-const q Bool)
(declare-const i Int)
(declare-const j Int)
(simplify (and p p))
; => p
(simplify (and true p))
; => p
(simplify (and p true))
; => p
(simplify (and false p))
; => false
(simplify (and p false))
; => false
(simplify (and p (not p)))
; => false
(simplify (and (not p) p))
; => false
(simplify (and (not p) (not p)))
; => (not p)
(simplify (and (not p) (not q)))
; => (and (not p) (not q))
(simplify (and q p))
; => (and p q)
(simplify (and (and p q) (not (and p q))))
; => false
(simplify (and (not (not p)) p))
; => p
(simplify (or p p))
; => p
(simplify (or true p))
; => true
(simplify (or p true))
; => true
(simplify (or false p))
; => p
(simplify (or p false))
; => p
(simplify (or p (not p)))
; => true
(simplify (or (not p) p))
; => true
(simplify (or (not p) (not p)))
; => (not p)
(simplify (or q p))
; => (or p q)
(simplify (or (not q) p))
; => (or p (not q))
(simplify (not true))
; => false
(simplify (not false))
; => true
(simplify (not (not p)))
; => p
(simplify (not (not (not p))))
; => (not p)
(simplify (not (and p q)))
; => (not (and p q))
(simplify (= p p))
; => true
(simplify (= true p))
; => p
(simplify (= p true))
; => p
(simplify (= false p))
; => (not p)
(simplify (= p false))
; => (not p)
(simplify (= (not q) false))
; => q
(simplify (= false (not q)))
; => q
(simplify (= p (not p)))
; => false
(simplify (= (not p) p))
; => false
(simplify (= q p))
; => (= p q)
(simplify (= (not q) (not p)))
; => (= (not p) (not q))
(simplify (xor p p))
; => false
(simplify (xor p true))
; => (not p)
(simplify (=> p p))
; => true
(simplify (=> false p))
; => true
(simplify (=> p false))
; => (not p)
(simplify (ite true p q))
; => p
(simplify (ite false p q))
; => q
(simplify (ite p q q))
; => q
(simplify (ite (not p) i j))
; => (ite (not p) i j)
(simplify (ite p j i))
; => (ite p j i)
(simplify (distinct p (not p)))
; => true
(simplify (distinct true false true))
; => false
