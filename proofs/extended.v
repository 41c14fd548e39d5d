(** The rules of extended.rules that [rule] does not close. *)

From Coq Require Import ZArith Bool Lia.
From Quarv Require Import Bv Lemmas Rotations Tactics extended_rules.
Local Open Scope Z_scope.

(** A number is less than the power of 2 by which it is divided. *)
Theorem proof_130 : holds_130.
Proof.
  start. rewrite Z.div_small by (split; [lia | apply Z.pow_gt_lin_r; lia]). apply Z.mod_0_l. lia.
Qed.

Theorem proof_131 : holds_131.
Proof. start. change (0 =? 0) with true. cbv iota. apply Z.mod_small. lia. Qed.

Theorem proof_132 : holds_132.
Proof. start. destruct v_t; reflexivity. Qed.
